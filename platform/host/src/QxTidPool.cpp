#include "QxTidPool.h"

#include <limits>

namespace qxhost {

std::uint16_t QxTidPool::Take() {
    if (!m_free.empty()) {
        const std::uint16_t tid = *m_free.begin();
        m_free.erase(m_free.begin());
        return tid;
    }
    if (m_highest == std::numeric_limits<std::uint16_t>::max()) return 0;
    return ++m_highest;
}

}  // namespace qxhost
