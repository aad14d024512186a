// The layout of a recording in shared memory, which the recorder writes and the control reads.
//
//     header | slots | metadata | ring of slot 0 | ring of slot 1 | ...
//
// All of it is made of 64-bit words. A slot belongs to one recorded thread at a time; its ring is a run of pages that
// only this thread writes. The position in a ring is counted in words and only grows: word n of the stream lies in the
// page n / (words of a page without its header), and page p in the p % (number of pages)th place of the ring.
//
// The stream is a run of items, each a head word and its payload, padded to whole words. The head holds the time since
// the item before it in nanoseconds (0 for the first item that starts in a page: the page's header has its base time).
//
// A writer may be killed between any two stores, and a reader may copy at any moment. Therefore a value that must be
// seen whole is stored twice (the reader takes it when both agree, or when it stands still), items count only once the
// committed position has passed them, and the number of opened pages is raised before the first word of the page
// changes.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "qx/detail/format.h"

namespace qxlayout {

using Word = std::uint64_t;
using SharedWord = std::atomic<Word>;
static_assert(sizeof(SharedWord) == sizeof(Word) && SharedWord::is_always_lock_free,
              "recordings need 64-bit atomics that work between processes");

constexpr Word kMagic = 0x3230305245435851;  // "QXCER002" in memory
constexpr Word kMagicOfAnyVersion = 0x5245435851;
constexpr Word kMagicVersionMask = 0xFFFFFF0000000000;

constexpr std::size_t kSlotCount = 64;  // the low bits of an entry time tell the slots apart
constexpr std::size_t kSlotWords = 16;

enum HeaderWord : std::size_t {
    kHeaderMagic,
    kHeaderPageSize,   // bytes
    kHeaderPageCount,  // pages of one ring
    kHeaderMetaSize,   // bytes
    kHeaderMode,       // 0: a full ring overwrites, 1: it refuses
    kHeaderPid,
    kHeaderStartTime,
    kHeaderMetaUsed,  // bytes of metadata that are complete, stored twice
    kHeaderMetaUsedAgain,
    kHeaderRefused,  // calls and log items of threads that had no slot
    kHeaderNameSize,
    kHeaderName,  // 16 bytes
    // Written by the recorders of programs that start when this one has ended.
    kHeaderStartsSince = kHeaderName + 2,  // how many of its name have started since
    kHeaderEndSeen,                        // when the first one found that it had ended, nanoseconds, 0: none did
    kHeaderWords
};

enum SlotWord : std::size_t {
    kSlotCommitted,  // words of the stream that are complete, stored twice
    kSlotCommittedAgain,
    kSlotOpened,  // pages of the stream that were begun, stored twice
    kSlotOpenedAgain,
    kSlotConsumed,          // words that a reader is done with, written by the control
    kSlotConsumedInverted,  // the same, inverted: the pair is valid when it fits together
    kSlotEntries,           // calls and log items that the ring took
    kSlotExits,             // exits that the ring took
    kSlotOverwritten,       // of the entries, those whose page was used again without a reader being waited for
    kSlotRefused,           // calls and log items that the ring did not take
    kSlotExitsRefused,      // exits that the ring did not take
    kSlotCut                // items in which a text or a list was cut to its limit
};

enum PageWord : std::size_t {
    kPageNumber,   // from 0, grows for ever
    kPageBase,     // base time of the first item that starts here or later
    kPageEntries,  // entries before that item
    kPageExits,    // exits before that item
    kPageThread,   // the thread that writes it, see ThreadWord
    kPageTail,     // words from the page's start on that finish an item begun before; may exceed the page
    kPageHeaderWords
};

// Kinds of items, in the two highest bits of the head.
enum Kind : unsigned { kEntry = 0, kExit = 1, kLog = 2, kNote = 3 };

// Notes, in the id field of a head of kind kNote.
enum Note : unsigned {
    kNoteThread = 1,   // payload: the word of kPageThread; from here on the items are that thread's
    kNoteTime = 2,     // payload: the base time, for a pause that the head's 32 bits cannot hold
    kNoteLostExit = 3  // payload: distance (see below) of a call whose exit was not taken
};

// Head of an item: delta (32 bits), id (14), payload bytes (16), kind (2). The id is the location of an entry or log
// item, and the distance of an exit: how many entries the slot took after the entry that returns. A distance that does
// not fit is kFarDistance, and the payload begins with the real one in a word of its own. The values of an exit are
// those of the arguments and then the result; a call without one ends with the arguments. Every value takes bytes.
constexpr unsigned kIdShift = 32;
constexpr unsigned kSizeShift = 46;
constexpr unsigned kKindShift = 62;
constexpr Word kMaxDelta = 0xFFFFFFFF;
constexpr Word kMaxId = 0x3FFF;
constexpr Word kFarDistance = kMaxId;
constexpr std::size_t kMaxPayload = qx::recorder::detail::kMaxPayload;  // with its head it fits into one fragment
constexpr std::size_t kMaxLocations = 9999;                             // the store tells locations apart below 10000
constexpr std::size_t kMaxNames = 4096;
constexpr std::size_t kMaxDescriptors = 10000;  // as many as call sites
constexpr std::size_t kMaxParts = 262144;  // arguments and members of all of them: in memory, each takes some 80 bytes

constexpr Word Head(Kind kind, Word id, std::size_t payloadSize, Word delta) {
    return static_cast<Word>(kind) << kKindShift | static_cast<Word>(payloadSize) << kSizeShift | id << kIdShift |
           delta;
}
constexpr unsigned KindOf(Word head) {
    return static_cast<unsigned>(head >> kKindShift);
}
constexpr unsigned IdOf(Word head) {
    return static_cast<unsigned>(head >> kIdShift & kMaxId);
}
constexpr std::size_t SizeOf(Word head) {
    return static_cast<std::size_t>(head >> kSizeShift & 0xFFFF);
}
constexpr Word DeltaOf(Word head) {
    return head & kMaxDelta;
}
constexpr std::size_t WordsFor(std::size_t bytes) {
    return (bytes + sizeof(Word) - 1) / sizeof(Word);
}

// A thread as a ring tells of it: its serial number and the number of its name.
constexpr Word ThreadWord(std::uint32_t serial, std::uint32_t name) {
    return static_cast<Word>(serial) << 32 | name;
}
constexpr std::uint32_t SerialOf(Word thread) {
    return static_cast<std::uint32_t>(thread >> 32);
}
constexpr std::uint32_t NameOf(Word thread) {
    return static_cast<std::uint32_t>(thread);
}

// Records of the metadata region: length (32 bits) of what follows, kind (1 byte), content. Locations and names are
// numbered from 1 in the order in which they appear.
enum MetaKind : unsigned char { kMetaLocation = 1, kMetaDescriptor = 2, kMetaName = 3 };

// The sizes of one recording, and the places that follow from them.
struct Geometry {
    std::size_t pageSize = 4096;
    std::size_t pageCount = 64;
    std::size_t metaSize = 1 << 20;

    static constexpr std::size_t kAlignment = 65536;  // the largest page size of the systems this runs on
    static constexpr std::size_t kMinPageSize = 256;
    static constexpr std::size_t kMaxPageSize = 1 << 20;
    static constexpr std::size_t kMinPageCount = 2;
    static constexpr std::size_t kMaxRingSize = 16 << 20;  // all rings of a process fit into one dump
    static constexpr std::size_t kMinMetaSize = 256;
    static constexpr std::size_t kMaxMetaSize = 16 << 20;

    static constexpr std::size_t AlignUp(std::size_t size) { return (size + kAlignment - 1) / kAlignment * kAlignment; }
    static constexpr std::size_t SlotOffset(std::size_t slot) { return 4096 + slot * kSlotWords * sizeof(Word); }
    static constexpr std::size_t MetaOffset() { return SlotOffset(kSlotCount); }

    bool IsValid() const {
        return pageSize % sizeof(Word) == 0 && pageSize >= kMinPageSize && pageSize <= kMaxPageSize &&
               pageCount >= kMinPageCount && pageCount <= kMaxRingSize / pageSize && metaSize >= kMinMetaSize &&
               metaSize <= kMaxMetaSize;
    }
    std::size_t PageWords() const { return pageSize / sizeof(Word); }
    std::size_t PageCapacity() const { return PageWords() - kPageHeaderWords; }  // stream words of a page
    std::size_t RingSize() const { return pageSize * pageCount; }
    std::size_t FrontSize() const { return AlignUp(MetaOffset() + metaSize); }
    std::uint64_t RingOffset(std::size_t slot) const {
        return FrontSize() + static_cast<std::uint64_t>(slot) * AlignUp(RingSize());
    }
    std::uint64_t FileSize() const { return RingOffset(kSlotCount); }
};

// Stores a value that a reader outside this process must see whole, into two shared words.
template <class AnyWord>
void Publish(AnyWord* twice, Word value) {
    twice[0].store(value, std::memory_order_release);
    twice[1].store(value, std::memory_order_release);
}

// All loads and stores before it take effect before all that follow.
inline void Fence() {
#ifdef __SANITIZE_THREAD__
    // GCC's thread sanitizer refuses fences; this orders as much.
    SharedWord word{0};
    word.exchange(1, std::memory_order_seq_cst);
#else
    std::atomic_thread_fence(std::memory_order_seq_cst);
#endif
}

}  // namespace qxlayout
