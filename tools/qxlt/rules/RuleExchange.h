// Hands a set of rules from the thread that has read it to the one that runs the cycles.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "RuleSet.h"

namespace qxlt {

// Any thread may call it, but for the first two.
class RuleExchange final {
public:
    // Who is told by the thread that reads that it begins to, and that what it read was offered, is as before, or was
    // refused. Before anything is read.
    void SetReadingSink(std::function<void(bool begins)> sink) { m_readingSink = std::move(sink); }
    void TellReading(bool begins) const {
        if (m_readingSink) m_readingSink(begins);
    }

    // Has the set take over with the next cycle, unless another one is offered before.
    void Offer(std::unique_ptr<RuleSet> rules) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_offered = std::move(rules);
    }

    // The set that is to take over now; null: there is none.
    std::unique_ptr<RuleSet> Take() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::move(m_offered);
    }

    // The hash of what runs.
    std::uint64_t Hash() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_hash;
    }
    void SetHash(std::uint64_t hash) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_hash = hash;
    }

private:
    std::function<void(bool)> m_readingSink;
    mutable std::mutex m_mutex;  // guards what follows
    std::unique_ptr<RuleSet> m_offered;
    std::uint64_t m_hash = 0;
};

}  // namespace qxlt
