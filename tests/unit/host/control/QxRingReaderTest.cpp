// What the reading end of a ring makes of pages and slots that are written by hand: good ones, and each kind of damage.
#include "QxRingReader.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "PlainRing.h"

namespace {

using namespace qxlayout;
using qxhost::QxDamage;
using qxhost::QxRingReader;
using Kind = QxRingReader::Item::Kind;

constexpr std::size_t kCapacity = 4;
constexpr std::size_t kPageCount = 2;

// A ring whose words a test writes, and its reader.
class HandMadeRing {
public:
    HandMadeRing() : m_memory(SmallGeometry(kCapacity, kPageCount)) {}

    void SetHeader(PageWord word, Word page, Word value) { m_memory.Pages()[HeaderPlace(word, page)] = value; }

    void SetCommitted(Word position) {
        m_memory.Slot()[kSlotCommitted] = position;
        m_memory.Slot()[kSlotCommittedAgain] = position;
    }
    void SetOpened(Word pages) {
        m_memory.Slot()[kSlotOpened] = pages;
        m_memory.Slot()[kSlotOpenedAgain] = pages;
    }

    // Writes the stream's words and the numbers of its pages, as if no item began anywhere but at its start. The pages
    // before have been used again.
    void Write(const std::vector<Word>& stream, Word firstPage = 0) {
        const Geometry& geometry = m_memory.Geometry();
        for (std::size_t i = 0; i < stream.size(); ++i) {
            const Word page = firstPage + i / kCapacity;
            const std::size_t place = static_cast<std::size_t>(page % kPageCount) * geometry.PageWords();
            m_memory.Pages()[place + kPageHeaderWords + i % kCapacity] = stream[i];
            SetHeader(kPageNumber, page, page);
        }
        SetCommitted(firstPage * kCapacity + stream.size());
        SetOpened(firstPage + (firstPage > 0 ? kPageCount : (stream.size() + kCapacity - 1) / kCapacity));
    }

    bool Read() {
        m_batch = {};
        return m_reader.Read(m_memory.View(), m_memory.View().ReadSlot(), m_batch);
    }
    std::string Damage() {
        try {
            Read();
        } catch (const QxDamage& damage) {
            return damage.what();
        }
        return "none";
    }

    PlainRing<SharedWord> m_memory;
    QxRingReader m_reader;
    QxRingReader::Batch m_batch;

private:
    static std::size_t HeaderPlace(PageWord word, Word page) {
        return static_cast<std::size_t>(page % kPageCount) * (kPageHeaderWords + kCapacity) + word;
    }
};

class QxRingReaderTest : public testing::Test, protected HandMadeRing {};

const Word kEntryOf8 = Head(kEntry, 3, 8, 100);
const Word kExitOf8 = Head(kExit, 0, 8, 50);

TEST_F(QxRingReaderTest, AnEmptyOneHoldsNothing) {
    EXPECT_TRUE(Read());
    EXPECT_TRUE(m_batch.items.empty());
    EXPECT_EQ(QxRingReader::LastTime(m_memory.View(), m_memory.View().ReadSlot()), 0u);
}

TEST_F(QxRingReaderTest, ReadsOnWhereItStopped) {
    Write({kEntryOf8, 1});
    EXPECT_TRUE(Read());
    ASSERT_EQ(m_batch.items.size(), 1u);
    Write({kEntryOf8, 1, kExitOf8, 2});
    EXPECT_TRUE(Read());
    ASSERT_EQ(m_batch.items.size(), 1u);
    EXPECT_EQ(m_batch.items[0].kind, Kind::Exit);
    EXPECT_EQ(m_batch.items[0].time, 150u);
    EXPECT_EQ(m_reader.Entries(), 1u);
    EXPECT_EQ(m_reader.Exits(), 1u);
    EXPECT_EQ(QxRingReader::LastTime(m_memory.View(), m_memory.View().ReadSlot()), 150u);
}

TEST_F(QxRingReaderTest, WhatWasOverwrittenIsLostAndCounted) {
    Write({kEntryOf8, 1, kExitOf8, 2}, 7);
    SetHeader(kPageEntries, 7, 40);
    SetHeader(kPageExits, 7, 30);
    SetHeader(kPageBase, 7, 9000);
    SetHeader(kPageThread, 7, 5);
    EXPECT_TRUE(Read());
    EXPECT_EQ(m_batch.lostEntries, 40u);
    EXPECT_EQ(m_batch.lostExits, 30u);
    ASSERT_EQ(m_batch.items.size(), 3u);
    EXPECT_EQ(m_batch.items[0].kind, Kind::Thread);
    EXPECT_EQ(m_batch.items[1].ordinal, 41u);
    EXPECT_EQ(m_batch.items[1].time, 9100u);
    EXPECT_EQ(m_batch.items[1].thread, 5u);
}

TEST_F(QxRingReaderTest, AnItemThatBeganInALostPageIsPassedOver) {
    Write({1, 2, kEntryOf8, 3}, 7);
    SetHeader(kPageTail, 7, 2);
    EXPECT_TRUE(Read());
    ASSERT_EQ(m_batch.items.size(), 2u);
    EXPECT_EQ(m_batch.items[1].kind, Kind::Entry);
}

TEST_F(QxRingReaderTest, OneThatIsOverrunReadsNothing) {
    Write({kEntryOf8, 1, kExitOf8, 2});
    std::size_t word = 0;
    m_memory.beforeWord = [&] {
        if (++word == 30) SetOpened(1 + kPageCount);
    };
    EXPECT_FALSE(Read());
    EXPECT_TRUE(m_batch.items.empty());
    EXPECT_EQ(m_reader.Position(), 0u);
}

TEST_F(QxRingReaderTest, APositionThatIsStoredOnceCounts) {
    Write({kEntryOf8, 1, kExitOf8, 2});
    m_memory.Slot()[kSlotCommittedAgain] = 2;
    m_memory.Slot()[kSlotOpenedAgain] = 0;
    EXPECT_TRUE(Read());
    EXPECT_EQ(m_batch.items.size(), 2u);
}

TEST_F(QxRingReaderTest, APositionThatNeverStandsStillIsDamage) {
    m_memory.beforeWord = [&] { ++m_memory.Slot()[kSlotCommitted]; };
    EXPECT_EQ(Damage(), "a position does not settle");
}

TEST_F(QxRingReaderTest, TellsWhatNoRecorderWrites) {
    const struct {
        const char* damage;
        std::function<void(HandMadeRing& ring)> make;
    } rows[] = {
        {"none",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1});
         }},
        {"a ring's position makes no sense", [](HandMadeRing& ring) { ring.SetCommitted(1); }},
        {"a ring's position makes no sense", [](HandMadeRing& ring) { ring.SetOpened(Word{1} << 56); }},
        {"a ring's position makes no sense", [](HandMadeRing& ring) { ring.SetOpened((Word{1} << 56) / kCapacity); }},
        {"none", [](HandMadeRing& ring) { ring.SetOpened((Word{1} << 56) / kCapacity - 1); }},
        {"a ring's position makes no sense",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1});
             ring.Read();
             ring.SetCommitted(1);
         }},
        {"a page is not the one that belongs there",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1});
             ring.SetHeader(kPageNumber, 0, kPageCount);
         }},
        {"a page begins behind what is complete",
         [](HandMadeRing& ring) {
             ring.Write({1, 2}, 7);
             ring.SetHeader(kPageTail, 7, 3);
         }},
        {"a page begins behind what is complete",
         [](HandMadeRing& ring) {
             ring.Write({1, 2}, 7);
             ring.SetHeader(kPageTail, 7, Word{1} << 56);
         }},
        {"a page counts backwards",
         [](HandMadeRing& ring) {
             ring.Write({1, 2}, 7);
             ring.SetHeader(kPageTail, 7, ~Word{0});
         }},
        {"a page counts backwards",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1});
             ring.Read();
             ring.Write({kEntryOf8, 1}, 7);
         }},
        {"a page does not go on where the one before ended",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1, kExitOf8, 2, kEntryOf8, 3});
             ring.SetHeader(kPageEntries, 1, 1);
             ring.SetHeader(kPageExits, 1, 1);
             ring.SetHeader(kPageBase, 1, 151);
         }},
        {"a ring's position went back",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1});
             ring.SetOpened(2);
             ring.m_memory.beforeWord = [&ring, word = 0]() mutable {
                 if (++word == 20) ring.SetOpened(1);
             };
         }},
        {"an item is too large",
         [](HandMadeRing& ring) {
             ring.Write({Head(kEntry, 3, kMaxPayload + 1, 0), 1});
         }},
        {"an item runs past what is complete",
         [](HandMadeRing& ring) {
             ring.Write({Head(kEntry, 3, 9, 0), 1});
         }},
        {"an exit has no call",
         [](HandMadeRing& ring) {
             ring.Write({kExitOf8, 1});
         }},
        {"an exit is too short",
         [](HandMadeRing& ring) {
             ring.Write({Head(kExit, kFarDistance, 7, 0), 1});
         }},
        {"a note has the wrong size",
         [](HandMadeRing& ring) {
             ring.Write({Head(kNote, kNoteThread, 7, 0), 1});
         }},
        {"a note is of no known kind",
         [](HandMadeRing& ring) {
             ring.Write({Head(kNote, 4, 8, 0), 1});
         }},
        {"time goes back",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1, Head(kNote, kNoteTime, 8, 0), 99, kEntryOf8, 1});
             ring.SetHeader(kPageEntries, 1, 1);
             ring.SetHeader(kPageBase, 1, 99);
         }},
        {"none",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1, Head(kNote, kNoteTime, 8, 0), 100});
         }},
        {"none",
         [](HandMadeRing& ring) {
             ring.Write({kEntryOf8, 1, Head(kExit, kFarDistance, 8, 0), 0});
         }},
    };
    for (const auto& row : rows) {
        HandMadeRing ring;
        row.make(ring);
        EXPECT_EQ(ring.Damage(), row.damage);
    }
}

}  // namespace
