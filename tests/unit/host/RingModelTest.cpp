// The lock-free core: one writer and one reader on a small ring, in plain memory. The writer can be stopped at each of
// its stores, and go on at each word that the reader copies; what the reader gives out is held against a model of what
// was written: nothing torn, nothing twice, nothing missing without being counted.
//
// Stores are taken one after the other, as the writer's code has them. That threads see them in that order is not shown
// here but by the live tests of losses, and by the thread sanitizer.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>

#include "RingModel.h"

namespace {

using namespace ringmodel;

// A few items of each kind, on pages that they cross: nested calls, notes of threads and times, an exit that is lost.
void WriteAll(Writer& writer) {
    writer.Attach(1, 1);
    const Word outer = writer.Entry(5);
    writer.Log(0);
    const Word inner = writer.Entry(17);
    writer.Exit(inner, 8);
    writer.Rename(2);
    writer.Log(3);
    writer.Pause(Word{5} << 32);
    writer.Exit(outer, 0);
    const Word third = writer.Entry(1);
    writer.Exit(third, 0, false);
    writer.Attach(2, 3);
    const Word last = writer.Entry(9);
    writer.Exit(last, 20);
}

// No more than goes twice through a small ring.
void WriteFew(Writer& writer) {
    writer.Attach(1, 1);
    for (std::size_t size = 0; size < 3; ++size) {
        const Word call = writer.Entry(3);
        writer.Log(size);
        writer.Exit(call, 5 * size);
    }
}

// Pages of one stream word upwards, so that items cross pages wherever they can.
const struct {
    std::size_t pageCapacity;
    std::size_t pageCount;
} kGeometries[] = {{9, 2}, {5, 3}, {4, 4}, {3, 8}, {2, 8}, {16, 2}, {40, 2}};

void ExpectAllRead(Checker& checker, const Replay& replay, Memory& memory, std::size_t done) {
    replay.Do(memory, done, replay.Count());
    EXPECT_TRUE(checker.Read(memory)) << "nobody writes any more";
    EXPECT_EQ(checker.delivered + checker.lost, replay.Written().records.size());
}

// The writer stops (or is killed) behind any store: what is complete is read, and after any further store the rest.
TEST(RingModelTest, AWriterStoppedAtAnyTwoStores) {
    std::size_t lost = 0;
    for (const auto& row : kGeometries) {
        const Geometry geometry = SmallGeometry(row.pageCapacity, row.pageCount);
        const Replay replay(geometry, WriteAll);
        ASSERT_GT(replay.Count(), 50u);
        for (std::size_t first = 0; first <= replay.Count(); ++first) {
            for (std::size_t second = first; second <= replay.Count(); ++second) {
                Memory memory(geometry);
                Checker checker(replay.Written());
                replay.Do(memory, 0, first);
                EXPECT_TRUE(checker.Read(memory)) << "nobody writes meanwhile";
                replay.Do(memory, first, second);
                EXPECT_TRUE(checker.Read(memory)) << "nobody writes meanwhile";
                ExpectAllRead(checker, replay, memory, second);
                lost += checker.lost;
                if (testing::Test::HasFailure()) {
                    FAIL() << "stopped at stores " << first << " and " << second << ", pages of " << row.pageCapacity;
                }
            }
        }
    }
    EXPECT_GT(lost, 0u) << "the rings were too large to lose anything";
}

// The writer stands at any store when a reading begins, and does any run of stores before any word that is copied.
TEST(RingModelTest, AWriterThatGoesOnAtAnyWordOfAReading) {
    std::size_t overrun = 0;
    std::size_t lost = 0;
    const Geometry geometry = SmallGeometry(6, 2);
    const Replay replay(geometry, WriteFew);
    for (std::size_t first = 0; first < replay.Count(); ++first) {
        for (std::size_t second = first + 1; second <= replay.Count(); ++second) {
            bool isReached = true;
            for (std::size_t at = 0; isReached; ++at) {
                Memory memory(geometry);
                Checker checker(replay.Written());
                replay.Do(memory, 0, first);
                std::size_t word = 0;
                isReached = false;
                memory.beforeWord = [&] {
                    if (word++ != at) return;
                    isReached = true;
                    replay.Do(memory, first, second);
                };
                checker.Read(memory);
                memory.beforeWord = nullptr;
                ExpectAllRead(checker, replay, memory, isReached ? second : first);
                overrun += checker.overrun;
                lost += checker.lost;
                if (testing::Test::HasFailure()) {
                    FAIL() << "stores " << first << " to " << second << " done before word " << at;
                }
            }
        }
    }
    EXPECT_GT(overrun, 0u) << "no reading was overrun";
    EXPECT_GT(lost, 0u) << "nothing was lost";
}

// Many readings, each of which finds the writer going on at many words.
TEST(RingModelTest, AWriterThatGoesOnAllTheTime) {
    std::mt19937 random(1);
    std::size_t overrun = 0;
    for (int round = 0; round < 4000; ++round) {
        const auto& row = kGeometries[random() % std::size(kGeometries)];
        const Geometry geometry = SmallGeometry(row.pageCapacity, row.pageCount);
        const Replay replay(geometry, WriteAll);
        const std::size_t patience = 1 + random() % 40;
        Memory memory(geometry);
        Checker checker(replay.Written());
        std::size_t done = 0;
        memory.beforeWord = [&] {
            if (random() % patience != 0) return;
            const std::size_t next = std::min(replay.Count(), done + 1 + random() % 20);
            replay.Do(memory, done, next);
            done = next;
        };
        while (done < replay.Count() && !testing::Test::HasFailure()) checker.Read(memory);
        memory.beforeWord = nullptr;
        ExpectAllRead(checker, replay, memory, done);
        overrun += checker.overrun;
        if (testing::Test::HasFailure()) FAIL() << "round " << round;
    }
    EXPECT_GT(overrun, 0u) << "no reading was overrun";
}

// A ring that refuses is read in the midst of any store, and told so between any two: nothing is lost that was taken.
TEST(RingModelTest, ARefusingWriterReadAtAnyStore) {
    Word refused = 0;
    std::size_t taken = 0;
    for (const auto& row : kGeometries) {
        const Geometry geometry = SmallGeometry(row.pageCapacity, row.pageCount);
        bool isReached = true;
        for (std::size_t readAt = 1; isReached; ++readAt) {
            for (const std::size_t delay : {0u, 1u, 2u, 5u, 20u}) {
                Memory memory(geometry);
                Writer writer(memory, true);
                Checker checker(writer);
                std::size_t stores = 0;
                ModelWord::s_afterStore = [&](const ModelWord&) {
                    ++stores;
                    if (stores == readAt) {
                        EXPECT_TRUE(checker.Read(memory)) << "nobody writes meanwhile";
                        memory.Slot()[kSlotConsumed].Set(checker.Position());
                    }
                    if (stores == readAt + delay) memory.Slot()[kSlotConsumedInverted].Set(~checker.Position());
                };
                WriteAll(writer);
                ModelWord::s_afterStore = nullptr;
                EXPECT_TRUE(checker.Read(memory));
                EXPECT_EQ(checker.lost, 0u);
                EXPECT_EQ(checker.delivered, writer.records.size());
                isReached = stores >= readAt;
                refused += writer.Slot(kSlotRefused);
                taken += checker.delivered;
                if (testing::Test::HasFailure()) {
                    FAIL() << "read at store " << readAt << ", pages of " << row.pageCapacity;
                }
            }
        }
    }
    EXPECT_GT(refused, 0u) << "the rings were too large to refuse anything";
    EXPECT_GT(taken, 0u);
}

}  // namespace
