#include "QxTidPool.h"

#include <algorithm>

namespace qxhost {

std::uint16_t QxTidPool::Take() {
    while (m_next < kCount && m_isTaken[m_next]) ++m_next;
    if (m_next == kCount) return 0;
    m_isTaken.set(m_next);
    return static_cast<std::uint16_t>(m_next);
}

void QxTidPool::GiveBack(std::uint16_t tid) {
    if (tid == 0) return;
    m_isTaken.reset(tid);
    m_next = std::min<std::size_t>(m_next, tid);
}

}  // namespace qxhost
