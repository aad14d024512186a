// The dumps of the last cycles of a live run, in memory: what led to an event is written when it fires.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "IRunPart.h"
#include "Lifecycle.h"
#include "LossCounts.h"

namespace qxlt {

// What came of a process in a cycle.
struct HeldDump {
    std::string process;
    std::vector<char> bytes;  // may be empty
    std::optional<LossCounts> counts;
    std::vector<ProcessChange> changes;
};

struct HeldCycle {
    std::uint64_t number = 0;
    bool primes = false;
    std::vector<HeldDump> dumps;
    std::size_t size = 0;  // of the dumps' bytes
};

// One thread at a time.
class CycleRing final {
public:
    // Holds the cycle in progress, and of those before it at most that many, as long as all of them have at most that
    // many bytes. A cycle that primed goes with the next one, which evaluates what it brought, and does not count.
    CycleRing(std::uint64_t before, std::uint64_t bytes) : m_before(before), m_bytes(bytes) {}

    // A cycle and its dumps. The oldest cycles make room for them.
    void Begin(std::uint64_t number, bool primes);
    void Add(const RunDump& dump);

    // In order; the last is the one in progress. Requires: Begin.
    const std::deque<HeldCycle>& Cycles() const { return m_cycles; }

    // Whether cycles that should be there are not, since there was no room for them.
    bool IsShort() const { return m_shortUntil >= m_cycles.back().number; }

private:
    std::uint64_t Before() const;
    void DropOldest();

    const std::uint64_t m_before;
    const std::uint64_t m_bytes;
    std::deque<HeldCycle> m_cycles;
    std::uint64_t m_size = 0;
    std::uint64_t m_shortUntil = 0;  // the last cycle before which one is missing
};

}  // namespace qxlt
