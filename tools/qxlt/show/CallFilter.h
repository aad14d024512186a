// Which of the events and calls are shown. All that is evaluated stays evaluated.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CallView.h"
#include "RunStart.h"

namespace qxlt {

// A point in time as it is written on the command line.
struct TimeBound {
    enum class Kind { None, SinceStart, Wall } kind = Kind::None;
    std::uint64_t ns = 0;  // since the run began, or since 1970
};

// Reads "10s", "500ms", "2m", "1h" or a number of seconds, and "2026-03-01T12:30:00Z" with or without a fraction of the
// second; nothing for other texts.
std::optional<TimeBound> ReadTimeBound(const std::string& text);

// Patterns are those of a shell, and any of several will do; without a pattern everything matches.
struct FilterPatterns {
    std::vector<std::string> events;
    std::vector<std::string> methods;
    std::vector<std::string> processes;
    std::vector<std::string> threads;
    TimeBound since;
    TimeBound until;
};

// When a call was made, on the clock of the recordings, and what is known of that clock.
struct CallTime {
    std::uint64_t time;
    std::optional<std::uint64_t> start;  // when the run began
    ClockOffset clock;
};

CallTime TimeOf(const CallView& call);
CallTime TimeOf(const IQxData::HSCall& call, const RunStart& start);

// Whether a pattern of the shell means the text.
bool MatchesPattern(const std::string& pattern, const std::string& text);

// Whether a pattern means the method, by its name alone or as "package.Name".
bool MatchesMethod(const std::string& pattern, const std::string& package, const std::string& name);

class CallFilter final {
public:
    explicit CallFilter(FilterPatterns patterns = {});

    bool ShowsEvent(const std::string& name) const;

    // A method matches by its name alone or with its package, a thread by its name or its number.
    bool ShowsMethod(const IQxData::_HSCallLocation& location) const;
    bool ShowsProcess(const std::string& name) const;
    bool ShowsThread(const std::string& name, unsigned number) const;

    // When a call was made. A bound that cannot be told for it holds nothing back.
    bool ShowsTime(const CallTime& call) const;

    // All that is known of a call, its time included.
    bool ShowsCall(const CallView& call) const;

    // Whether a bound is asked for.
    bool HasBounds() const {
        return m_patterns.since.kind != TimeBound::Kind::None || m_patterns.until.kind != TimeBound::Kind::None;
    }

    // Whether a bound is asked for that cannot be told for the call.
    bool LacksTime(const CallTime& call) const;

private:
    FilterPatterns m_patterns;
    bool m_all;  // nothing is asked for
};

}  // namespace qxlt
