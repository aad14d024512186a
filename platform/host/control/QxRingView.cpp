#include "QxRingView.h"

#include <algorithm>

#include "QxSettled.h"

namespace qxhost {

using namespace qxlayout;

QxRingView::Slot QxRingView::ReadSlot() const {
    return ReadSettled<kSlotWords>(m_source, qxlayout::Geometry::SlotOffset(m_slot), {kSlotCommitted, kSlotOpened});
}

void QxRingView::ReadPages(std::uint64_t firstPage, std::size_t count, std::uint64_t* out) const {
    const std::size_t place = static_cast<std::size_t>(firstPage % m_geometry.pageCount);
    const std::size_t untilEnd = std::min(count, m_geometry.pageCount - place);
    const std::uint64_t ring = m_geometry.RingOffset(m_slot);
    m_source.Read(ring + place * m_geometry.pageSize, out, untilEnd * m_geometry.pageSize);
    if (untilEnd == count) return;
    m_source.Read(ring, out + untilEnd * m_geometry.PageWords(), (count - untilEnd) * m_geometry.pageSize);
}

}  // namespace qxhost
