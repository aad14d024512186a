#include "CycleRing.h"

#include <algorithm>

namespace qxlt {

void CycleRing::Begin(std::uint64_t number, bool primes) {
    m_cycles.emplace_back();
    m_cycles.back().number = number;
    m_cycles.back().primes = primes;
    while (Before() > m_before) DropOldest();
}

// How many cycles before the current one count. One that primes is always followed by the one that it goes with.
std::uint64_t CycleRing::Before() const {
    const auto counted =
        std::count_if(m_cycles.begin(), m_cycles.end(), [](const HeldCycle& cycle) { return !cycle.primes; });
    return static_cast<std::uint64_t>(counted) - (m_cycles.back().primes ? 0 : 1);
}

void CycleRing::DropOldest() {
    m_size -= m_cycles.front().size;
    m_cycles.pop_front();
}

void CycleRing::Add(const RunDump& dump) {
    HeldCycle& cycle = m_cycles.back();
    cycle.dumps.push_back({dump.process, dump.bytes, dump.counts, dump.changes});
    cycle.size += dump.bytes.size();
    m_size += dump.bytes.size();
    while (m_size > m_bytes && m_cycles.size() > 1) {
        m_shortUntil = m_cycles.front().number + m_before + (m_cycles.front().primes ? 1 : 0);
        DropOldest();
    }
}

}  // namespace qxlt
