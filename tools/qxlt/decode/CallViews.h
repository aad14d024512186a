// The calls of a store as they are printed.
#pragma once

#include "CallView.h"
#include "ProcessNames.h"
#include "ProcessStore.h"

namespace qxlt {

class CallViews final {
public:
    // Both must outlive this.
    CallViews(ProcessStore& store, const ProcessNames& names) : m_store(store), m_names(names) {}

    // Where the recordings' clock stood against the wall clock, so that calls get their wall clock times.
    void SetClock(ClockOffset offset) { m_clock = offset; }

    // Requires: the call lies in the store under that key, or is a copy of it. Valid until the store takes something.
    CallView Of(unsigned long long key, const IQxData::HSCall& call) const;

private:
    ProcessStore& m_store;
    const ProcessNames& m_names;
    ClockOffset m_clock;
};

}  // namespace qxlt
