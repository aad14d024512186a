// The writing end of one ring: takes the entries, exits and log items of one thread at a time. Never locks, allocates
// or calls the system. See QxRing for the one that records.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "QxLayout.h"

namespace qxhost {

// What the ring is written into and the clock come from Traits, so that a reader can be put between any two stores:
//
//     using SharedWord = ...;       // std::atomic<std::uint64_t>, or what has its load and store
//     using Clock = ...;            // std::uint64_t Now() gives nanoseconds
//
// The functions are defined in QxBasicRingImpl.h, for the one file that instantiates it.
template <class Traits>
class QxBasicRing {
public:
    using SharedWord = typename Traits::SharedWord;
    using Clock = typename Traits::Clock;

    // `slotWords` is the slot's place in the shared header and `pages` are the words of the ring's pages; both must
    // outlive the ring. `slot` is its number and `lane` what the low bits of its entry times are; `refuseWhenFull`
    // chooses what a full ring does.
    QxBasicRing(const qxlayout::Geometry& geometry, SharedWord* slotWords, SharedWord* pages, std::size_t slot,
                unsigned lane, bool refuseWhenFull, const Clock& clock = Clock());

    std::size_t Slot() const { return m_slot; }

    // Hands the ring to a thread of that serial number; what follows is recorded as its. Calls that the thread before
    // left open stay without exit.
    void Attach(std::uint32_t serial, std::uint32_t nameId, std::uint32_t attachment);
    void Rename(std::uint32_t nameId);
    std::uint32_t Attachment() const { return m_attachment; }
    // Tells that a call of that attachment ended without exit; ignored when the attachment is over. Any thread may
    // call it.
    void CountEndedElsewhere(std::uint32_t attachment);

    // Where the payload of the next item is prepared: qxlayout::kMaxPayload bytes.
    unsigned char* Staging() const { return reinterpret_cast<unsigned char*>(m_staging.get() + kStagingHead); }

    // Appends the prepared payload as an entry or a log item of the location. Returns how many entries the ring took,
    // this one included, or 0 when it did not take it (which it counts).
    std::uint64_t AppendEntry(qxlayout::Kind kind, std::uint32_t location, std::size_t payloadSize);

    // Appends the prepared payload as the exit of the entry with that number; a payload that could not be prepared
    // (`isWhole` false) or finds no room leaves a note that the exit is lost.
    void AppendExit(std::uint64_t ordinal, std::size_t payloadSize, bool isWhole);

    void CountRefused() { Store(qxlayout::kSlotRefused, ++m_refused); }
    void CountCut() { Store(qxlayout::kSlotCut, ++m_cut); }

private:
    static constexpr std::size_t kStagingHead = 2;  // words ahead of a payload: the head, and a far distance

    // What the header of a page says of the first item that starts in it.
    struct State {
        std::uint64_t base = 0;
        std::uint64_t entries = 0;
        std::uint64_t exits = 0;
        std::uint64_t thread = 0;
    };

    std::uint64_t Now();
    std::uint64_t EntryTime();
    std::uint64_t OpenCalls() const;
    bool HasRoom(std::size_t words);
    bool HasBeenRead(std::uint64_t lastPage);
    bool NeedsTimeNote(std::uint64_t time) const;
    std::size_t NoteWords(std::uint64_t time) const;
    void PutNotes(std::uint64_t time);
    void PutNote(qxlayout::Note note, std::uint64_t value, const State& after);
    void Put(const std::uint64_t* words, std::size_t count, const State& after);
    void OpenPage(std::uint64_t tail);
    void Commit();
    std::uint64_t Position() const { return m_pageStart + m_offset; }
    void Store(qxlayout::SlotWord word, std::uint64_t value) {
        m_slotWords[word].store(value, std::memory_order_relaxed);
    }

    const std::size_t m_slot;
    const unsigned m_lane;
    const bool m_refuseWhenFull;
    const std::size_t m_pageWords;
    const std::size_t m_pageCapacity;
    const std::uint64_t m_pageCount;
    const std::size_t m_maxWords;   // of an item
    SharedWord* const m_slotWords;  // not owned
    SharedWord* const m_words;      // of the pages, not owned
    const std::unique_ptr<std::uint64_t[]> m_staging;

    std::atomic<std::uint64_t> m_endedElsewhere{0};  // attachment << 32 | its calls that ended on other threads

    // All below is touched by the attached thread alone.
    Clock m_clock;
    State m_state;
    std::uint64_t m_openedPages = 0;
    SharedWord* m_page = nullptr;  // the stream words of the newest page
    std::uint64_t m_pageStart;     // their position in the stream; that of the page before the first one at first
    std::size_t m_offset;          // in the newest page, in stream words
    std::uint64_t m_consumed = 0;
    std::uint64_t m_openCalls = 0;
    std::uint64_t m_refused = 0;
    std::uint64_t m_exitsRefused = 0;
    std::uint64_t m_cut = 0;
    std::uint64_t m_nextThread = 0;  // to be noted ahead of the next item
    std::uint32_t m_attachment = 0;
};

}  // namespace qxhost
