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

    // When the run of the recordings began, and where their clock stood against the wall clock then.
    void SetStart(std::optional<std::uint64_t> start, ClockOffset clock) {
        m_start = start;
        m_clock = clock;
    }

    // Requires: the call lies in the store under that key, or is a copy of it. Valid until the store takes something.
    CallView Of(unsigned long long key, const IQxData::HSCall& call) const;

private:
    ProcessStore& m_store;
    const ProcessNames& m_names;
    std::optional<std::uint64_t> m_start;
    ClockOffset m_clock;
};

}  // namespace qxlt
