// How a live run is doing: what programs and operators ask for while it goes on.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "HealthFigure.h"
#include "LossCounts.h"
#include "QxEventTally.h"
#include "TimeSpans.h"
#include "WallTime.h"

namespace qxlt {

enum class RunState {
    Waiting,  // for processes that do not run yet, or for the first cycle
    Running,  // events are raised
    Ended,
};
const char* TextOf(RunState state);

// All processes of a name.
struct ProcessHealth {
    std::vector<std::uint32_t> ids;  // of those that run
    std::uint64_t since = 0;         // when that was last noticed to have changed, on the wall clock
    std::string problem;             // why nothing of one of them can be read; empty: there is none
    std::uint64_t calls = 0;         // that were evaluated
    std::optional<LossCounts> counts;
    std::uint64_t bytesNotDecoded = 0;
    std::uint64_t eventsInError = 0;

    std::uint64_t Lost() const;  // calls; 0 where that is not known
};

struct RunHealth {
    RunState state = RunState::Waiting;
    std::vector<std::string> waitingFor;  // processes that do not run yet
    std::uint64_t started = 0;            // on the wall clock
    std::uint64_t cycles = 0;
    std::string rules;  // the hash of those that run; empty: none so far
    std::map<std::string, ProcessHealth> processes;
    QxEventTally::Rows events;
    ClockOffset clock;    // of the events' times
    TimeSpans cycle;      // with fetching the dumps, and the pause after each
    TimeSpans work;       // without
    TimeSpans callbacks;  // of these, handing on one event
    std::uint64_t storeBytes = 0;
    std::vector<HealthFigure> figures;  // of what else takes part

    // At the time that it is asked for.
    std::uint64_t now = 0;  // on the wall clock
    std::uint32_t pid = 0;
    std::uint64_t residentBytes = 0;
};

// All of it as one JSON object.
std::string HealthJson(const RunHealth& health);

// The same as metrics in Prometheus' text form. All have the label run="NAME": runs of one machine have files in one
// directory, and no two of them may have the same metric with the same labels.
std::string HealthMetrics(const RunHealth& health, const std::string& name);

// For a person, in a few words: "media-server[4711], 12 cycles, 340 events, 0 calls lost".
std::string HealthSummary(const RunHealth& health);

}  // namespace qxlt
