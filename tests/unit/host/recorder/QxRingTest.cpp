// What the writing end of a ring takes, refuses and counts; the reader tells what it wrote.
#include "QxRing.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "PlainRing.h"
#include "QxBasicRingImpl.h"
#include "QxRingReader.h"

namespace {

using namespace qxlayout;
using qxhost::QxRingReader;
using Kind = QxRingReader::Item::Kind;

// A clock that goes as the test says.
struct FakeTraits {
    using SharedWord = qxlayout::SharedWord;
    static inline std::uint64_t s_now;
    struct Clock {
        std::uint64_t Now() const { return s_now; }
    };
};
using FakeRing = qxhost::QxBasicRing<FakeTraits>;

constexpr unsigned kLane = 5;

class QxRingTest : public testing::Test {
protected:
    explicit QxRingTest(const Geometry& geometry = SmallGeometry(16, 4), bool refuseWhenFull = false)
        : m_memory(geometry),
          m_ring(geometry, m_memory.Slot().data(), m_memory.Pages().data(), 0, kLane, refuseWhenFull) {
        FakeTraits::s_now = 1000;
        m_ring.Attach(1, 1, 1);
    }

    std::uint64_t Entry(const std::string& payload, std::uint32_t location = 7, qxlayout::Kind kind = kEntry) {
        std::memcpy(m_ring.Staging(), payload.data(), payload.size());
        return m_ring.AppendEntry(kind, location, payload.size());
    }
    void Exit(std::uint64_t ordinal, const std::string& payload, bool isWhole = true) {
        std::memcpy(m_ring.Staging(), payload.data(), payload.size());
        m_ring.AppendExit(ordinal, payload.size(), isWhole);
    }
    QxRingReader::Batch Read() {
        QxRingReader::Batch batch;
        EXPECT_TRUE(m_reader.Read(m_memory.View(), m_memory.View().ReadSlot(), batch));
        return batch;
    }
    void Consume() {
        m_memory.Slot()[kSlotConsumed] = m_reader.Position();
        m_memory.Slot()[kSlotConsumedInverted] = ~m_reader.Position();
    }
    std::uint64_t Count(SlotWord word) { return m_memory.Slot()[word]; }

    PlainRing<SharedWord> m_memory;
    FakeRing m_ring;
    QxRingReader m_reader;
};

class RefusingRingTest : public QxRingTest {
protected:
    RefusingRingTest() : QxRingTest(SmallGeometry(8, 2), true) {}
};

class LargeRingTest : public QxRingTest {
protected:
    LargeRingTest() : QxRingTest(SmallGeometry(4096, 16)) {}
};

TEST_F(QxRingTest, ACallComesOutWithItsThreadTimesAndValues) {
    const std::uint64_t ordinal = Entry("in");
    FakeTraits::s_now = 2000;
    Exit(ordinal, "out");
    const QxRingReader::Batch batch = Read();
    ASSERT_EQ(batch.items.size(), 3u);
    EXPECT_EQ(batch.items[0].kind, Kind::Thread);
    EXPECT_EQ(batch.items[0].thread, std::uint64_t{1} << 32 | 1);
    EXPECT_EQ(batch.items[1].kind, Kind::Entry);
    EXPECT_EQ(batch.items[1].ordinal, 1u);
    EXPECT_EQ(batch.items[1].location, 7u);
    EXPECT_EQ(std::string(batch.items[1].payload, batch.items[1].size), "in");
    EXPECT_EQ(batch.items[2].kind, Kind::Exit);
    EXPECT_EQ(batch.items[2].ordinal, 1u);
    EXPECT_EQ(batch.items[2].time, 2000u);
    EXPECT_EQ(std::string(batch.items[2].payload, batch.items[2].size), "out");
    EXPECT_EQ(Count(kSlotEntries), 1u);
    EXPECT_EQ(Count(kSlotExits), 1u);
}

TEST_F(QxRingTest, EntryTimesAreThoseOfTheLaneAndOnlyGrow) {
    std::vector<std::uint64_t> times;
    for (const unsigned now : {1000u, 1000u, 1001u, 500u, 100000u}) {
        FakeTraits::s_now = now;
        Entry("");
    }
    for (const QxRingReader::Item& item : Read().items) {
        if (item.kind == Kind::Entry) times.push_back(item.time);
    }
    EXPECT_EQ(times, (std::vector<std::uint64_t>{965, 1029, 1093, 1157, 99973}));
}

TEST_F(QxRingTest, APauseLongerThanADeltaIsNoted) {
    Entry("a");
    FakeTraits::s_now = 1000 + (std::uint64_t{3} << 32);
    Exit(1, "b");
    EXPECT_EQ(Read().items.back().time, FakeTraits::s_now);
}

TEST_F(QxRingTest, OnlyAPauseLongerThanADeltaTakesRoomOfItsOwn) {
    Entry("");
    FakeTraits::s_now = Read().items.back().time + kMaxDelta;
    Exit(1, "");
    const std::uint64_t before = m_reader.Position();
    EXPECT_EQ(Read().items.back().time, FakeTraits::s_now);
    EXPECT_EQ(m_reader.Position() - before, 1u);
    Entry("");
    FakeTraits::s_now = Read().items.back().time + kMaxDelta + 1;
    Exit(2, "");
    EXPECT_EQ(Read().items.back().time, FakeTraits::s_now);
    EXPECT_EQ(m_reader.Position() - before, 1u + 1u + 3u);
}

// However an item lies across pages, and after pauses of any length.
TEST_F(QxRingTest, TheTimeOfTheLastItemIsTold) {
    for (std::size_t size = 0; size < 500; ++size) {
        FakeTraits::s_now += size % 7 == 0 ? std::uint64_t{3} << 32 : 1000;
        if (Entry(std::string(size, 'x'), 7, kLog) == 0) break;
        const std::uint64_t last = QxRingReader::LastTime(m_memory.View(), m_memory.View().ReadSlot());
        EXPECT_EQ(last, FakeTraits::s_now / kSlotCount * kSlotCount + kLane) << size;
    }
    EXPECT_GT(Count(kSlotOverwritten), 100u);
}

TEST_F(QxRingTest, ALogItemIsNoOpenCall) {
    Entry("log", 3, kLog);
    const QxRingReader::Batch batch = Read();
    EXPECT_EQ(batch.items.back().kind, Kind::Log);
    EXPECT_EQ(batch.items.back().location, 3u);
    EXPECT_EQ(Count(kSlotEntries), 1u);
}

TEST_F(QxRingTest, ANewNameOrThreadIsNotedAheadOfTheNextItem) {
    Entry("a");
    m_ring.Rename(9);
    Entry("b");
    m_ring.Attach(2, 4, 2);
    Entry("c");
    std::vector<std::uint64_t> threads;
    for (const QxRingReader::Item& item : Read().items) {
        if (item.kind == Kind::Thread) threads.push_back(item.thread);
    }
    const std::uint64_t first = std::uint64_t{1} << 32;
    EXPECT_EQ(threads, (std::vector<std::uint64_t>{first | 1, first | 9, first * 2 | 4}));
}

TEST_F(QxRingTest, AnExitThatIsNotWholeLeavesANote) {
    Entry("a");
    Entry("b");
    Exit(1, "", false);
    const QxRingReader::Batch batch = Read();
    EXPECT_EQ(batch.items.back().kind, Kind::LostExit);
    EXPECT_EQ(batch.items.back().ordinal, 1u);
    EXPECT_EQ(Count(kSlotExits), 0u);
    EXPECT_EQ(Count(kSlotExitsRefused), 1u);
}

TEST_F(QxRingTest, WhatIsLargerThanAllPagesButOneIsRefused) {
    const std::size_t notes = 4;  // the thread, and room for the note of a lost exit
    const std::size_t words = 3 * 16 - notes - 1;
    EXPECT_EQ(Entry(std::string(words * sizeof(Word) + 1, 'x')), 0u);
    EXPECT_EQ(Count(kSlotRefused), 1u);
    EXPECT_EQ(Entry(std::string(words * sizeof(Word), 'x')), 1u);
    EXPECT_EQ(Read().items.back().size, words * sizeof(Word));
}

TEST_F(QxRingTest, AnOverwrittenPageIsCountedByItsEntries) {
    for (int i = 0; i < 1000; ++i) Entry("a");
    const QxRingReader::Batch batch = Read();
    EXPECT_EQ(Count(kSlotEntries), 1000u);
    EXPECT_EQ(Count(kSlotOverwritten), batch.lostEntries);
    EXPECT_EQ(batch.lostEntries + batch.items.size() - 1, 1000u) << "one item tells the thread";
}

TEST_F(LargeRingTest, AnExitFarFromItsEntryFindsIt) {
    Entry("first");
    for (Word i = 0; i + 1 < kFarDistance; ++i) Entry("");
    Exit(2, "near");
    Exit(1, "near, too");
    Entry("");
    Exit(1, "far");
    const QxRingReader::Batch batch = Read();
    const auto* items = batch.items.data() + batch.items.size();
    EXPECT_EQ(items[-4].ordinal, 2u);
    EXPECT_EQ(items[-3].ordinal, 1u);
    EXPECT_EQ(items[-1].ordinal, 1u);
    EXPECT_EQ(std::string(items[-1].payload, items[-1].size), "far");
}

TEST_F(RefusingRingTest, AFullOneRefusesUntilItWasRead) {
    int taken = 0;
    while (Entry("a", 7, kLog) != 0) ++taken;
    EXPECT_EQ(taken, 7) << "two pages of eight words: a note of the thread, and items of two";
    EXPECT_EQ(Count(kSlotRefused), 1u);
    EXPECT_EQ(Read().lostEntries, 0u);
    EXPECT_EQ(Entry("a", 7, kLog), 0u);
    Consume();
    EXPECT_NE(Entry("a", 7, kLog), 0u);
    EXPECT_EQ(Count(kSlotOverwritten), 0u);
}

TEST_F(RefusingRingTest, APairThatDoesNotFitTogetherWasNotRead) {
    while (Entry("a", 7, kLog) != 0) {
    }
    Read();
    m_memory.Slot()[kSlotConsumed] = m_reader.Position();
    EXPECT_EQ(Entry("a", 7, kLog), 0u);
    m_memory.Slot()[kSlotConsumed] = m_reader.Position() + 1;
    m_memory.Slot()[kSlotConsumedInverted] = ~(m_reader.Position() + 1);
    EXPECT_EQ(Entry("a", 7, kLog), 0u) << "more than was written cannot have been read";
}

TEST_F(RefusingRingTest, AnOpenCallKeepsRoomForTheNoteOfItsExit) {
    EXPECT_EQ(Entry("a"), 1u);
    while (Entry("", 7, kLog) != 0) {
    }
    Exit(1, "a value for which there is no room");
    const QxRingReader::Batch batch = Read();
    EXPECT_EQ(batch.items.back().kind, Kind::LostExit);
    EXPECT_EQ(batch.items.back().ordinal, 1u);
    EXPECT_EQ(batch.lostEntries, 0u);
}

TEST_F(RefusingRingTest, ACallThatEndedElsewhereKeepsNoRoom) {
    EXPECT_EQ(Entry("a"), 1u);
    while (Entry("", 7, kLog) != 0) {
    }
    m_ring.CountEndedElsewhere(m_ring.Attachment() + 1);
    EXPECT_EQ(Entry("", 7, kLog), 0u) << "another attachment's";
    m_ring.CountEndedElsewhere(m_ring.Attachment());
    EXPECT_NE(Entry("", 7, kLog), 0u);
}

}  // namespace
