#include "CallNesting.h"

#include <algorithm>
#include <tuple>

namespace qxlt {

CallNesting::Place CallNesting::Enter(std::uint64_t time, std::uint64_t exitTime) {
    const std::uint64_t end = std::max(time, exitTime);
    if (time < m_last) return {0, end};
    m_last = time;
    while (!m_ends.empty() && m_ends.back() <= time) m_ends.pop_back();
    const Place place{m_ends.size(), m_ends.empty() ? end : std::min(end, m_ends.back())};
    if (place.end > time) m_ends.push_back(place.end);
    return place;
}

bool ComesBefore(const CallTimes& left, const CallTimes& right) {
    return std::tie(left.time, right.exitTime, left.key) < std::tie(right.time, left.exitTime, right.key);
}

}  // namespace qxlt
