#include "Backoff.h"

#include <algorithm>

namespace qxlt {

Backoff::Seconds Backoff::Next() {
    const double limit = m_limit;
    m_limit = std::min(kMost, 2 * m_limit);
    return Seconds(std::uniform_real_distribution<double>(kLeast, limit)(m_random));
}

Backoff::Seconds Backoff::NextLong() {
    return Seconds(std::uniform_real_distribution<double>(kMost / 2, kMost)(m_random));
}

}  // namespace qxlt
