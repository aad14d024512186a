// How many lines a terminal gets, and that each of the others is counted.
#include "QxLineBound.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using qxhost::QxLineBound;

TEST(QxLineBoundTest, ShowsSoManyOfASecondAndTellsOfTheOthersInTheNext) {
    QxLineBound bound;
    std::uint32_t leftOut = 7;
    for (std::uint32_t i = 0; i < QxLineBound::kMost; ++i) {
        EXPECT_TRUE(bound.Takes(3, leftOut));
        EXPECT_EQ(leftOut, 0u);
    }
    EXPECT_FALSE(bound.Takes(3, leftOut));
    EXPECT_FALSE(bound.Takes(3, leftOut));
    EXPECT_EQ(leftOut, 0u);
    EXPECT_TRUE(bound.Takes(4, leftOut));
    EXPECT_EQ(leftOut, 2u);
    EXPECT_TRUE(bound.Takes(4, leftOut));
    EXPECT_EQ(leftOut, 0u);
    EXPECT_TRUE(bound.Takes(9, leftOut));
    EXPECT_EQ(leftOut, 0u);
}

TEST(QxLineBoundTest, TellsOfTheLastOnesOnce) {
    QxLineBound bound;
    std::uint32_t leftOut = 0;
    EXPECT_EQ(bound.TakeLeftOut(), 0u);
    for (std::uint32_t i = 0; i < QxLineBound::kMost + 5; ++i) bound.Takes(1, leftOut);
    EXPECT_EQ(bound.TakeLeftOut(), 5u);
    EXPECT_EQ(bound.TakeLeftOut(), 0u);
}

TEST(QxLineBoundTest, CountsEachLineOnceThoughThreadsMeetAtTheEndOfASecond) {
    constexpr std::uint32_t kLines = 20000;
    QxLineBound bound;
    std::atomic<std::uint32_t> shown{0};
    std::atomic<std::uint32_t> told{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (std::uint32_t line = 0; line < kLines; ++line) {
                std::uint32_t leftOut = 0;
                if (bound.Takes(line / 100, leftOut)) ++shown;
                told += leftOut;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(shown + told + bound.TakeLeftOut(), 4 * kLines);
}

}  // namespace
