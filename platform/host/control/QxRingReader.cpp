#include "QxRingReader.h"

#include <algorithm>

#include "QxBytes.h"

namespace qxhost {

using namespace qxlayout;

namespace {

// No ring gets there, and no sum of such numbers overflows.
constexpr std::uint64_t kMaxPosition = std::uint64_t{1} << 56;

// The page in which ends what is complete. Requires that something is.
std::uint64_t LastPage(const QxRingView::Slot& slot, std::uint64_t capacity) {
    return (slot[kSlotCommitted] - 1) / capacity;
}

}  // namespace

bool QxRingReader::Read(const QxRingView& ring, const QxRingView::Slot& slot, Batch& batch) {
    const std::uint64_t capacity = ring.Geometry().PageCapacity();
    CheckSlot(slot, capacity);
    const std::uint64_t end = slot[kSlotCommitted];
    if (end == m_position) return true;
    Copy copy;
    std::uint64_t firstIntact = 0;
    if (!CopyPages(ring, slot, copy, firstIntact)) return false;
    for (std::uint64_t page = firstIntact; page <= copy.lastPage; ++page) {
        if (copy.Page(page)[kPageNumber] != page) throw QxDamage("a page is not the one that belongs there");
    }
    if (firstIntact * capacity > m_position) SkipTo(copy, firstIntact, capacity, batch);
    if (m_position > end) throw QxDamage("a page begins behind what is complete");
    Flatten(copy, capacity, end, batch);
    TakeApart(copy, capacity, batch);
    return true;
}

// The page in which the last item ends is enough: one that is opened within an item has the item's time.
std::uint64_t QxRingReader::LastTime(const QxRingView& ring, const QxRingView::Slot& slot) {
    QxRingReader reader;
    if (slot[kSlotCommitted] != 0) reader.m_firstPage = LastPage(slot, ring.Geometry().PageCapacity());
    Batch batch;
    reader.Read(ring, slot, batch);
    return reader.m_base;
}

void QxRingReader::CheckSlot(const QxRingView::Slot& slot, std::uint64_t capacity) const {
    const bool isInRange =
        slot[kSlotOpened] < kMaxPosition / capacity && slot[kSlotCommitted] <= slot[kSlotOpened] * capacity;
    if (!isInRange || slot[kSlotCommitted] < m_position) throw QxDamage("a ring's position makes no sense");
}

// Copies all that is new, then looks how far the writer came meanwhile: pages that it began to use again are not
// intact.
bool QxRingReader::CopyPages(const QxRingView& ring, const QxRingView::Slot& slot, Copy& copy,
                             std::uint64_t& firstIntact) const {
    const std::uint64_t capacity = ring.Geometry().PageCapacity();
    const std::uint64_t pageCount = ring.Geometry().pageCount;
    const auto oldest = [pageCount](std::uint64_t opened) { return opened > pageCount ? opened - pageCount : 0; };
    copy.firstPage = std::max({m_firstPage, m_position / capacity, oldest(slot[kSlotOpened])});
    copy.lastPage = LastPage(slot, capacity);
    copy.pageWords = ring.Geometry().PageWords();
    if (copy.lastPage < copy.firstPage) return false;
    const std::size_t count = static_cast<std::size_t>(copy.lastPage - copy.firstPage + 1);
    copy.words.resize(count * copy.pageWords);
    ring.ReadPages(copy.firstPage, count, copy.words.data());
    const QxRingView::Slot after = ring.ReadSlot();
    if (after[kSlotOpened] < slot[kSlotOpened]) throw QxDamage("a ring's position went back");
    firstIntact = std::max(copy.firstPage, oldest(after[kSlotOpened]));
    return firstIntact <= copy.lastPage;
}

// Goes on at the first item that starts in the page or, when the whole page belongs to one item, behind that.
void QxRingReader::SkipTo(const Copy& copy, std::uint64_t page, std::uint64_t capacity, Batch& batch) {
    const std::uint64_t* header = copy.Page(page);
    if (header[kPageEntries] < m_entries || header[kPageExits] < m_exits || header[kPageTail] > kMaxPosition) {
        throw QxDamage("a page counts backwards");
    }
    batch.lostEntries = header[kPageEntries] - m_entries;
    batch.lostExits = header[kPageExits] - m_exits;
    m_position = page * capacity + header[kPageTail];
    m_entries = header[kPageEntries];
    m_exits = header[kPageExits];
    m_base = header[kPageBase];
    m_thread = header[kPageThread];
    Item item;
    item.kind = Item::Kind::Thread;
    Emit(item, batch);
}

void QxRingReader::Flatten(const Copy& copy, std::uint64_t capacity, std::uint64_t end, Batch& batch) const {
    batch.words.reserve(static_cast<std::size_t>(end - m_position));
    for (std::uint64_t position = m_position; position < end;) {
        const std::uint64_t page = position / capacity;
        const std::uint64_t stop = std::min(end, (page + 1) * capacity);
        const std::uint64_t* words = copy.Page(page) + kPageHeaderWords;
        batch.words.insert(batch.words.end(), words + position % capacity, words + (stop - page * capacity));
        position = stop;
    }
}

// Each page says where its first item starts and how many entries lie before it; both must be what was read.
void QxRingReader::CheckPages(const Copy& copy, std::uint64_t capacity, std::uint64_t& page) const {
    for (; page <= copy.lastPage && page * capacity <= m_position; ++page) {
        const std::uint64_t* header = copy.Page(page);
        const bool isRight = header[kPageTail] == m_position - page * capacity && header[kPageEntries] == m_entries &&
                             header[kPageExits] == m_exits && header[kPageBase] == m_base;
        if (!isRight) throw QxDamage("a page does not go on where the one before ended");
    }
}

void QxRingReader::TakeApart(const Copy& copy, std::uint64_t capacity, Batch& batch) {
    const std::size_t total = batch.words.size();
    std::uint64_t nextPage = (m_position + capacity - 1) / capacity;
    for (std::size_t at = 0; at < total;) {
        CheckPages(copy, capacity, nextPage);
        const std::uint64_t head = batch.words[at];
        const std::size_t words = 1 + WordsFor(SizeOf(head));
        if (SizeOf(head) > kMaxPayload) throw QxDamage("an item is too large");
        if (words > total - at) throw QxDamage("an item runs past what is complete");
        m_base += DeltaOf(head);
        TakeItem(head, batch.words.data() + at + 1, batch);
        at += words;
        m_position += words;
    }
}

void QxRingReader::TakeItem(std::uint64_t head, const std::uint64_t* payload, Batch& batch) {
    if (KindOf(head) == kNote) {
        TakeNote(head, payload, batch);
        return;
    }
    Item item;
    item.payload = reinterpret_cast<const char*>(payload);
    item.size = SizeOf(head);
    if (KindOf(head) == kExit) {
        TakeExit(head, payload, item);
    } else {
        item.kind = KindOf(head) == kLog ? Item::Kind::Log : Item::Kind::Entry;
        item.location = IdOf(head);
        item.ordinal = ++m_entries;
    }
    Emit(item, batch);
}

void QxRingReader::TakeExit(std::uint64_t head, const std::uint64_t* payload, Item& item) {
    item.kind = Item::Kind::Exit;
    std::uint64_t distance = IdOf(head);
    if (distance == kFarDistance) {
        if (item.size < sizeof(Word)) throw QxDamage("an exit is too short");
        distance = payload[0];
        item.payload += sizeof(Word);
        item.size -= sizeof(Word);
    }
    item.ordinal = OrdinalAt(distance);
    ++m_exits;
}

void QxRingReader::TakeNote(std::uint64_t head, const std::uint64_t* payload, Batch& batch) {
    if (SizeOf(head) != sizeof(Word)) throw QxDamage("a note has the wrong size");
    Item item;
    switch (IdOf(head)) {
        case kNoteThread:
            m_thread = payload[0];
            item.kind = Item::Kind::Thread;
            break;
        case kNoteTime:
            if (payload[0] < m_base) throw QxDamage("time goes back");
            m_base = payload[0];
            return;
        case kNoteLostExit:
            item.kind = Item::Kind::LostExit;
            item.ordinal = OrdinalAt(payload[0]);
            break;
        default:
            throw QxDamage("a note is of no known kind");
    }
    Emit(item, batch);
}

void QxRingReader::Emit(Item item, Batch& batch) const {
    item.time = m_base;
    item.thread = m_thread;
    batch.items.push_back(item);
}

std::uint64_t QxRingReader::OrdinalAt(std::uint64_t distance) const {
    if (distance >= m_entries) throw QxDamage("an exit has no call");
    return m_entries - distance;
}

}  // namespace qxhost
