// A ring in plain memory: its slot and its pages, in blocks of exactly their size, as its writer and as its reader see
// them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "IQxByteSource.h"
#include "QxBytes.h"
#include "QxLayout.h"
#include "QxRingView.h"

// Pages of so many stream words.
inline qxlayout::Geometry SmallGeometry(std::size_t pageCapacity, std::size_t pageCount) {
    qxlayout::Geometry geometry;
    geometry.pageSize = (qxlayout::kPageHeaderWords + pageCapacity) * sizeof(qxlayout::Word);
    geometry.pageCount = pageCount;
    geometry.metaSize = qxlayout::Geometry::kMinMetaSize;
    return geometry;
}

// `SharedWord` is what the ring's Traits say.
template <class SharedWord>
class PlainRing final : public qxhost::IQxByteSource {
public:
    explicit PlainRing(const qxlayout::Geometry& geometry)
        : m_geometry(geometry), m_slot(qxlayout::kSlotWords), m_pages(geometry.PageWords() * geometry.pageCount) {}

    const qxlayout::Geometry& Geometry() const { return m_geometry; }
    std::vector<SharedWord>& Slot() { return m_slot; }
    std::vector<SharedWord>& Pages() { return m_pages; }
    qxhost::QxRingView View() const { return {*this, m_geometry, 0}; }

    // Called before each word that is read.
    std::function<void()> beforeWord;

    void Read(std::uint64_t offset, void* out, std::size_t size) const override {
        const std::uint64_t slotOffset = qxlayout::Geometry::SlotOffset(0);
        const bool isSlot = offset < m_geometry.RingOffset(0);
        const std::vector<SharedWord>& words = isSlot ? m_slot : m_pages;
        const std::uint64_t first =
            (offset - (isSlot ? slotOffset : m_geometry.RingOffset(0))) / sizeof(qxlayout::Word);
        const std::size_t count = size / sizeof(qxlayout::Word);
        if (first > words.size() || count > words.size() - first) throw qxhost::QxDamage("read outside the ring");
        for (std::size_t i = 0; i < count; ++i) {
            if (beforeWord) beforeWord();
            static_cast<qxlayout::Word*>(out)[i] =
                words[static_cast<std::size_t>(first) + i].load(std::memory_order_relaxed);
        }
    }

private:
    const qxlayout::Geometry m_geometry;
    std::vector<SharedWord> m_slot;
    std::vector<SharedWord> m_pages;
};
