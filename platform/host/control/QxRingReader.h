// The reading end of one ring: copies what was recorded since it read last, while the writer goes on, and takes it
// apart. Whatever the writer reached before the copy was done is left out and counted. A plain value, so that a reading
// whose dump could not be written can be taken back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "QxRingView.h"

namespace qxhost {

class QxRingReader {
public:
    struct Item {
        enum class Kind { Entry, Log, Exit, LostExit, Thread };
        Kind kind = Kind::Entry;
        std::uint64_t time = 0;
        std::uint64_t thread = 0;    // see qxlayout::ThreadWord
        std::uint64_t ordinal = 0;   // of the entry that is made or that returns: the ring's first one is 1
        std::uint32_t location = 0;  // of an entry or log item
        const char* payload = nullptr;
        std::size_t size = 0;
    };

    struct Batch {
        std::vector<std::uint64_t> words;  // what the payloads point into
        std::vector<Item> items;
        std::uint64_t lostEntries = 0;  // between the last batch and this one
        std::uint64_t lostExits = 0;
    };

    // The thread of the last item that was read, as in Item.
    std::uint64_t Thread() const { return m_thread; }
    std::uint64_t Position() const { return m_position; }
    std::uint64_t Entries() const { return m_entries; }
    std::uint64_t Exits() const { return m_exits; }

    // Reads on up to what the slot says is complete. False when the writer went through the whole ring meanwhile: then
    // nothing was read, and reading may be tried again with the slot as it is by then. Throws QxDamage.
    bool Read(const QxRingView& ring, const QxRingView::Slot& slot, Batch& batch);

    // The time of the last item in a ring, 0 for none or when it cannot be told. Throws QxDamage.
    static std::uint64_t LastTime(const QxRingView& ring, const QxRingView::Slot& slot);

private:
    // A run of whole pages, headers included.
    struct Copy {
        std::vector<std::uint64_t> words;
        std::uint64_t firstPage = 0;
        std::uint64_t lastPage = 0;
        std::size_t pageWords = 0;
        const std::uint64_t* Page(std::uint64_t number) const {
            return words.data() + static_cast<std::size_t>(number - firstPage) * pageWords;
        }
    };

    void CheckSlot(const QxRingView::Slot& slot, std::uint64_t capacity) const;
    bool CopyPages(const QxRingView& ring, const QxRingView::Slot& slot, Copy& copy, std::uint64_t& firstIntact) const;
    void SkipTo(const Copy& copy, std::uint64_t page, std::uint64_t capacity, Batch& batch);
    void Flatten(const Copy& copy, std::uint64_t capacity, std::uint64_t end, Batch& batch) const;
    void CheckPages(const Copy& copy, std::uint64_t capacity, std::uint64_t& page) const;
    void TakeApart(const Copy& copy, std::uint64_t capacity, Batch& batch);
    void TakeItem(std::uint64_t head, const std::uint64_t* payload, Batch& batch);
    void TakeExit(std::uint64_t head, const std::uint64_t* payload, Item& item);
    void Emit(Item item, Batch& batch) const;
    void TakeNote(std::uint64_t head, const std::uint64_t* payload, Batch& batch);
    std::uint64_t OrdinalAt(std::uint64_t distance) const;

    std::uint64_t m_firstPage = 0;  // what lies before it is left out
    std::uint64_t m_position = 0;
    std::uint64_t m_entries = 0;
    std::uint64_t m_exits = 0;
    std::uint64_t m_base = 0;
    std::uint64_t m_thread = 0;
};

}  // namespace qxhost
