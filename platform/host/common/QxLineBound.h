// How many lines a terminal gets: no more than a person can read. The others are counted, so that this can be told.
#pragma once

#include <atomic>
#include <cstdint>

namespace qxhost {

// Any thread may call it. Each line is either shown or counted as left out, exactly once.
class QxLineBound {
public:
    static constexpr std::uint32_t kMost = 50;  // in one second: a screen

    // Whether one more line of that second is shown. `leftOut` becomes the number of those that were not shown since it
    // was last told, before this second; that is to be told first.
    bool Takes(std::uint32_t second, std::uint32_t& leftOut) {
        std::uint32_t known = m_second.load();
        leftOut = known != second && m_second.compare_exchange_strong(known, second) ? TakeLeftOut() : 0;
        return m_lines.fetch_add(1) < kMost;
    }

    // How many were not shown since that was last told. As many as before are shown from now on.
    std::uint32_t TakeLeftOut() {
        const std::uint32_t lines = m_lines.exchange(0);
        return lines > kMost ? lines - kMost : 0;
    }

private:
    std::atomic<std::uint32_t> m_second{0};
    std::atomic<std::uint32_t> m_lines{0};  // asked for in that second
};

}  // namespace qxhost
