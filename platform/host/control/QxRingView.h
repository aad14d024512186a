// One ring of a recording as it is read: the words of its slot, and copies of its pages.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "IQxByteSource.h"
#include "QxLayout.h"

namespace qxhost {

// The source must outlive the view.
class QxRingView {
public:
    using Slot = std::array<std::uint64_t, qxlayout::kSlotWords>;

    QxRingView(const IQxByteSource& source, const qxlayout::Geometry& geometry, std::size_t slot)
        : m_source(source), m_geometry(geometry), m_slot(slot) {}

    const qxlayout::Geometry& Geometry() const { return m_geometry; }

    // The words of the slot. Of the values that are stored twice, the first one is whole. Throws QxDamage.
    Slot ReadSlot() const;

    // Copies a run of pages, by their places in the ring, to `out`. The run may go over the ring's end. Throws
    // QxDamage.
    void ReadPages(std::uint64_t firstPage, std::size_t count, std::uint64_t* out) const;

private:
    const IQxByteSource& m_source;
    const qxlayout::Geometry m_geometry;
    const std::size_t m_slot;
};

}  // namespace qxhost
