// Who is shown the calls of a run, whether they raise events or not.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CallView.h"
#include "LossCounts.h"

namespace qxlt {

// What came with the dump of a process besides its calls.
struct DumpNews {
    std::uint64_t cycle;
    const std::string& process;
    const std::optional<LossCounts>& counts;  // nothing: they are not known
    std::uint64_t bytesNotDecoded;
    std::uint64_t history;  // calls that are not shown, because they were made before the run
};

// All calls but the first two come from the thread that runs the cycles. What is handed over is valid for the call
// only.
class ICallWatcher {
public:
    virtual ~ICallWatcher() = default;

    // All processes of a live run were found, and its cycles begin; it is to end. Called by the thread that started the
    // run, the second while a cycle may be in progress; others may follow, with what is left.
    virtual void OnBegin() {}
    virtual void OnEnding() {}

    // The dumps of a cycle, before the calls that they brought. A process without a dump is told of as well.
    virtual void OnDump(const DumpNews& news) = 0;

    // A call that is evaluated, in the order of the store's keys, before the events of its cycle.
    virtual void OnCall(const CallView& call) = 0;

    // A call that came with a cycle which primes. It is evaluated in the next one.
    virtual void OnPrimed(const CallView& call) = 0;

    // The cycle has brought all it has.
    virtual void OnCycleEnd() = 0;
};

}  // namespace qxlt
