// So many in each interval, and how many more there were.
#pragma once

#include <chrono>
#include <cstdint>
#include <utility>

namespace qxlt {

struct Rate {
    std::uint64_t most = 0;
    std::chrono::seconds interval{0};
};

// An interval begins with the first that passes after the one before is over. One thread at a time; the times that are
// handed over do not go back.
class RateWindow final {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit RateWindow(const Rate& rate) : m_rate(rate) {}

    // Whether one more may pass. One that may not is counted.
    bool Take(Time now) {
        if (IsOver(now)) {
            m_end = now + m_rate.interval;
            m_passed = 0;
        }
        if (m_passed < m_rate.most) {
            ++m_passed;
            return true;
        }
        ++m_held;
        ++m_heldInAll;
        return false;
    }

    bool IsOver(Time now) const { return now >= m_end; }

    // How many were held back since this was asked last.
    std::uint64_t TakeHeld() { return std::exchange(m_held, 0); }

    std::uint64_t HeldInAll() const { return m_heldInAll; }

private:
    const Rate m_rate;
    Time m_end = Time::min();
    std::uint64_t m_passed = 0;  // in this interval
    std::uint64_t m_held = 0;
    std::uint64_t m_heldInAll = 0;
};

}  // namespace qxlt
