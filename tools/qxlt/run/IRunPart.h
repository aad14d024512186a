// What takes part in a live run besides the printing of its events: keeps dumps, starts programs, publishes, and so on.
// Each is made by an option of its own; the run knows none of them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "EventView.h"
#include "HealthFigure.h"
#include "JoinedScripts.h"
#include "Lifecycle.h"
#include "LossCounts.h"
#include "ProcessNames.h"
#include "RuleExchange.h"
#include "RunStart.h"

class IQxEventObserver;

namespace qxlt {

class HealthPart;
class Interruption;

// The dump that was fetched from a process, before it is decoded; empty when there was none.
struct RunDump {
    const std::string& process;
    const std::vector<char>& bytes;
    const std::optional<LossCounts>& counts;  // nothing: they are not known
    const std::vector<ProcessChange>& changes;
};

// Between OnBegin and OnEnding all calls come from the thread that runs the cycles. What is handed over is valid for
// the call only.
class IRunPart {
public:
    virtual ~IRunPart() = default;

    // Processes do not run yet, and are waited for. Called again and again by the thread that started the run.
    virtual void OnWaiting(const std::vector<std::string>& /*missing*/) {}

    // All processes were found, and the cycles begin. Called by the thread that started the run. Throws a Failure
    // (cannot start).
    virtual void OnBegin(const ProcessNames& /*processes*/, const RunStart& /*start*/) {}

    // The rules that run, and the names of their events: those of the beginning, by the thread that started the run
    // and ahead of OnBegin, and others that take over with the cycle that begins next.
    virtual void OnRules(const RuleNumbers& /*rules*/, const std::vector<std::string>& /*events*/) {}

    // One that was not among those is tracked from the cycle on that began last.
    virtual void OnProcess(const LateProcess& /*process*/) {}

    // A cycle, counted from 1; its dumps one by one; the events that fire and are to be shown; and its end, after which
    // the store is as the next cycle finds it.
    virtual void OnCycle(std::uint64_t /*number*/, bool /*primes*/) {}
    virtual void OnDump(const RunDump& /*dump*/) {}
    virtual void OnEvent(const EventView& /*view*/) {}
    virtual void OnCycleEnd() {}

    // Who watches the evaluation, too; asked once, before the cycles begin. Null: nobody.
    virtual IQxEventObserver* Observer() { return nullptr; }

    // Other scenarios are about to take over, as somebody has asked for; and they have, or were refused. Called by the
    // thread that started the run.
    virtual void OnReloading() {}
    virtual void OnReloaded() {}

    // The run is about to end: what was recorded up to now is fetched, in further cycles. Called by the thread that
    // started the run, which runs those cycles.
    virtual void OnEnding() {}

    // The last cycle has ended, and the results are about to be printed. Not called for a run that ended before its
    // cycles began. Called by the thread that started the run.
    virtual void OnEnd() {}

    // And this has been told to all parts, whose figures are their last. As OnEnd.
    virtual void OnEnded() {}

    // What it tells of itself in the run's health. Asked at the end of each cycle, and at the end of the run.
    virtual std::vector<HealthFigure> Health() const { return {}; }

    // Whether something was lost that was asked for: the run then ends with the status for that. After OnEnd.
    virtual bool Failed() const { return false; }
};

// What a part may use for as long as it lives.
struct RunSurroundings {
    const JoinedScripts& scripts;  // with which the run begins
    RuleExchange& rules;           // which of them run, and others to take their place
    // Handlers run on the thread that started the run, before OnBegin, too; while the run ends, on one of their own.
    Interruption& interruption;
    const HealthPart& health;  // may be asked by any thread
};

// Makes a part of the run that is about to begin. Throws a Failure (cannot start).
using RunPartMaker = std::function<std::unique_ptr<IRunPart>(const RunSurroundings& surroundings)>;

}  // namespace qxlt
