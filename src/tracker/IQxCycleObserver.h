// Watches the tracker's cycles, for tools that keep the dumps or tell how far tracking has come. Normal tracking has
// none. To watch, derive from this class and override what is of interest.
#pragma once

#include <string>
#include <vector>

#include "QxCycle.h"

// All calls come from the tracker's worker thread. What they throw ends the cycle.
class IQxCycleObserver {
public:
    virtual ~IQxCycleObserver() = default;

    // A cycle begins. One that primes raises no events.
    virtual void OnCycle(bool /*primes*/) {}

    // The dump that was fetched from a process, about to be decoded; empty when there was none.
    virtual void OnDump(const std::string& /*process*/, const std::vector<char>& /*dump*/) {}

    // How a dump decoded. Told once all dumps of the cycle are, in their order: a later one may have decoded what an
    // earlier one left waiting.
    virtual void OnDecoded(const std::string& /*process*/, const QxCycle::Decoded& /*decoded*/) {}

    // The cycle has ended, its events have been delivered.
    virtual void OnCycleEnd() {}
};
