// The functions of QxBasicRing. Included where a ring is instantiated, and nowhere else.
#pragma once

#include <algorithm>

#include "QxBasicRing.h"

namespace qxhost {

using namespace qxlayout;

inline constexpr std::size_t kNoteWordCount = 2;

template <class Traits>
QxBasicRing<Traits>::QxBasicRing(const Geometry& geometry, SharedWord* slotWords, SharedWord* pages, std::size_t slot,
                                 unsigned lane, bool refuseWhenFull, const Clock& clock)
    : m_slot(slot),
      m_lane(lane),
      m_refuseWhenFull(refuseWhenFull),
      m_pageWords(geometry.PageWords()),
      m_pageCapacity(geometry.PageCapacity()),
      m_pageCount(geometry.pageCount),
      m_maxWords((geometry.pageCount - 1) * geometry.PageCapacity()),
      m_slotWords(slotWords),
      m_words(pages),
      m_staging(new std::uint64_t[kStagingHead + WordsFor(kMaxPayload)]),
      m_clock(clock),
      m_pageStart(std::uint64_t{0} - m_pageCapacity),
      m_offset(m_pageCapacity) {}

template <class Traits>
void QxBasicRing<Traits>::Attach(std::uint32_t serial, std::uint32_t nameId, std::uint32_t attachment) {
    m_nextThread = ThreadWord(serial, nameId);
    m_attachment = attachment;
    m_endedElsewhere.store(static_cast<std::uint64_t>(attachment) << 32, std::memory_order_relaxed);
    m_openCalls = 0;
}

template <class Traits>
void QxBasicRing<Traits>::CountEndedElsewhere(std::uint32_t attachment) {
    std::uint64_t ended = m_endedElsewhere.load(std::memory_order_relaxed);
    while (ended >> 32 == attachment &&
           !m_endedElsewhere.compare_exchange_weak(ended, ended + 1, std::memory_order_relaxed)) {
    }
}

template <class Traits>
std::uint64_t QxBasicRing<Traits>::OpenCalls() const {
    return m_openCalls - (m_endedElsewhere.load(std::memory_order_relaxed) & 0xFFFFFFFF);
}

template <class Traits>
void QxBasicRing<Traits>::Rename(std::uint32_t nameId) {
    m_nextThread = ThreadWord(SerialOf(m_nextThread), nameId);
}

// Within a ring, time does not go back.
template <class Traits>
inline std::uint64_t QxBasicRing<Traits>::Now() {
    return std::max(m_clock.Now(), m_state.base);
}

// Entry times tell calls apart: in the low bits no two rings of a process agree, and within a ring they only grow.
template <class Traits>
inline std::uint64_t QxBasicRing<Traits>::EntryTime() {
    constexpr std::uint64_t kStep = kSlotCount;
    const std::uint64_t time = Now() / kStep * kStep + m_lane;
    return time > m_state.base ? time : time + kStep;
}

template <class Traits>
std::uint64_t QxBasicRing<Traits>::AppendEntry(Kind kind, std::uint32_t location, std::size_t payloadSize) {
    const std::uint64_t time = EntryTime();
    const std::size_t words = 1 + WordsFor(payloadSize);
    const std::size_t noteWords = NoteWords(time);
    const std::size_t reserved = kind == kEntry ? kNoteWordCount : 0;
    if (!HasRoom(noteWords + words + reserved)) {
        CountRefused();
        return 0;
    }
    if (noteWords != 0) PutNotes(time);
    std::uint64_t* item = m_staging.get() + kStagingHead - 1;
    item[0] = Head(kind, location, payloadSize, time - m_state.base);
    State after = m_state;
    after.base = time;
    ++after.entries;
    Put(item, words, after);
    Store(kSlotEntries, m_state.entries);
    Commit();
    if (kind == kEntry) ++m_openCalls;
    return m_state.entries;
}

template <class Traits>
void QxBasicRing<Traits>::AppendExit(std::uint64_t ordinal, std::size_t payloadSize, bool isWhole) {
    --m_openCalls;
    const std::uint64_t distance = m_state.entries - ordinal;
    const bool isFar = distance >= kFarDistance;
    const std::uint64_t time = Now();
    const std::size_t size = payloadSize + (isFar ? sizeof(Word) : 0);
    const std::size_t words = 1 + WordsFor(size);
    const std::size_t noteWords = NoteWords(time);
    if (!isWhole || size > kMaxPayload || !HasRoom(noteWords + words)) {
        Store(kSlotExitsRefused, ++m_exitsRefused);
        PutNote(kNoteLostExit, distance, m_state);
        Commit();
        return;
    }
    if (noteWords != 0) PutNotes(time);
    std::uint64_t* item = m_staging.get() + kStagingHead - (isFar ? 2 : 1);
    item[0] = Head(kExit, isFar ? kFarDistance : distance, size, time - m_state.base);
    if (isFar) item[1] = distance;
    State after = m_state;
    after.base = time;
    ++after.exits;
    Put(item, words, after);
    Store(kSlotExits, m_state.exits);
    Commit();
}

// Room for the words, and for a note of the lost exit of each call that is open: such a note must never be refused,
// since it is what the reader learns of an exit that was.
template <class Traits>
inline bool QxBasicRing<Traits>::HasRoom(std::size_t words) {
    if (words > m_maxWords) return false;
    if (!m_refuseWhenFull) return true;
    const std::uint64_t last = Position() + words + OpenCalls() * kNoteWordCount - 1;
    return HasBeenRead(last / m_pageCapacity);
}

// Whether the page that has to make room for the given one may go.
template <class Traits>
bool QxBasicRing<Traits>::HasBeenRead(std::uint64_t lastPage) {
    if (lastPage < m_pageCount) return true;
    const std::uint64_t needed = (lastPage - m_pageCount + 1) * m_pageCapacity;
    if (m_consumed >= needed) return true;
    const std::uint64_t consumed = m_slotWords[kSlotConsumed].load(std::memory_order_acquire);
    const std::uint64_t inverted = m_slotWords[kSlotConsumedInverted].load(std::memory_order_acquire);
    if (consumed == ~inverted && consumed <= Position()) m_consumed = std::max(m_consumed, consumed);
    return m_consumed >= needed;
}

// Whether the head of an item of that time cannot hold what it is later than the item before.
template <class Traits>
inline bool QxBasicRing<Traits>::NeedsTimeNote(std::uint64_t time) const {
    return time - m_state.base > kMaxDelta;
}

template <class Traits>
inline std::size_t QxBasicRing<Traits>::NoteWords(std::uint64_t time) const {
    std::size_t words = m_nextThread != m_state.thread ? kNoteWordCount : 0;
    if (NeedsTimeNote(time)) words += kNoteWordCount;
    return words;
}

template <class Traits>
void QxBasicRing<Traits>::PutNotes(std::uint64_t time) {
    State after = m_state;
    if (m_nextThread != m_state.thread) {
        after.thread = m_nextThread;
        PutNote(kNoteThread, m_nextThread, after);
    }
    if (NeedsTimeNote(time)) {
        after.base = time;
        PutNote(kNoteTime, time, after);
    }
}

template <class Traits>
void QxBasicRing<Traits>::PutNote(Note note, std::uint64_t value, const State& after) {
    const std::uint64_t words[kNoteWordCount] = {Head(kNote, note, sizeof(Word), 0), value};
    Put(words, kNoteWordCount, after);
}

// A page that is opened at an item's start is described by the state before the item, one that is opened within it by
// the state after.
template <class Traits>
inline void QxBasicRing<Traits>::Put(const std::uint64_t* words, std::size_t count, const State& after) {
    if (m_offset == m_pageCapacity) OpenPage(0);
    m_state = after;
    while (true) {
        SharedWord* page = m_page + m_offset;
        const std::size_t part = std::min(count, m_pageCapacity - m_offset);
        for (std::size_t i = 0; i < part; ++i) page[i].store(words[i], std::memory_order_relaxed);
        m_offset += part;
        words += part;
        count -= part;
        if (count == 0) return;
        OpenPage(count);
    }
}

template <class Traits>
void QxBasicRing<Traits>::OpenPage(std::uint64_t tail) {
    const std::uint64_t number = m_openedPages++;
    if (number >= m_pageCount && !m_refuseWhenFull) {
        const SharedWord* oldestLeft = m_words + (number + 1) % m_pageCount * m_pageWords;
        Store(kSlotOverwritten, oldestLeft[kPageEntries].load(std::memory_order_relaxed));
    }
    Publish(m_slotWords + kSlotOpened, m_openedPages);
    // Whoever copies a word that is stored below finds, when it looks afterwards, that the page was opened.
    Fence();
    SharedWord* page = m_words + number % m_pageCount * m_pageWords;
    page[kPageNumber].store(number, std::memory_order_relaxed);
    page[kPageBase].store(m_state.base, std::memory_order_relaxed);
    page[kPageEntries].store(m_state.entries, std::memory_order_relaxed);
    page[kPageExits].store(m_state.exits, std::memory_order_relaxed);
    page[kPageThread].store(m_state.thread, std::memory_order_relaxed);
    page[kPageTail].store(tail, std::memory_order_relaxed);
    m_page = page + kPageHeaderWords;
    m_pageStart = number * m_pageCapacity;
    m_offset = 0;
}

template <class Traits>
inline void QxBasicRing<Traits>::Commit() {
    Publish(m_slotWords + kSlotCommitted, Position());
}

}  // namespace qxhost
