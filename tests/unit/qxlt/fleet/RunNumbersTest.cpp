#include "RunNumbers.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <set>

namespace qxlt {

bool operator==(const NumberRange& left, const NumberRange& right) {
    return left.first == right.first && left.last == right.last;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Arrival = RunNumbers::Arrival;
using Time = RunNumbers::Time;

Time At(int seconds) {
    return Time(std::chrono::seconds(seconds));
}

TEST(RunNumbers, TakesEachNumberOnce) {
    RunNumbers numbers(1);
    for (const std::uint64_t number : {1u, 2u, 3u}) EXPECT_EQ(numbers.Take(number, At(0)), Arrival::New);
    for (const std::uint64_t number : {1u, 2u, 3u}) EXPECT_EQ(numbers.Take(number, At(0)), Arrival::Double);
    EXPECT_EQ(numbers.Missing(), 0u);
    EXPECT_FALSE(numbers.HasUntold());
}

TEST(RunNumbers, TellsAGapOnceItHasStood) {
    RunNumbers numbers(1);
    numbers.Take(1, At(0));
    numbers.Take(5, At(10));
    EXPECT_EQ(numbers.Missing(), 3u);
    EXPECT_THAT(numbers.TellMissing(At(9)), IsEmpty());
    EXPECT_TRUE(numbers.HasUntold());
    EXPECT_THAT(numbers.TellMissing(At(10)), ElementsAre(NumberRange{2, 4}));
    EXPECT_FALSE(numbers.HasUntold());
    EXPECT_THAT(numbers.TellMissing(At(99)), IsEmpty());
}

TEST(RunNumbers, TakesWhatComesOutOfOrder) {
    RunNumbers numbers(1);
    numbers.Take(4, At(0));
    EXPECT_EQ(numbers.Take(2, At(1)), Arrival::New);
    EXPECT_EQ(numbers.Take(2, At(1)), Arrival::Double);
    EXPECT_THAT(numbers.TellMissing(At(5)), ElementsAre(NumberRange{1, 1}, NumberRange{3, 3}));
    EXPECT_EQ(numbers.Take(3, At(6)), Arrival::Late);
    EXPECT_EQ(numbers.Take(1, At(6)), Arrival::Late);
    EXPECT_EQ(numbers.Missing(), 0u);
    EXPECT_EQ(numbers.GapCount(), 0u);
}

TEST(RunNumbers, MissesWhatShouldHaveComeAtTheEnd) {
    RunNumbers numbers(1);
    numbers.Take(1, At(0));
    numbers.Expect(1, At(0));
    EXPECT_EQ(numbers.Missing(), 0u);
    numbers.Expect(3, At(0));
    EXPECT_THAT(numbers.TellMissing(At(0)), ElementsAre(NumberRange{2, 3}));
    EXPECT_EQ(numbers.Take(4, At(0)), Arrival::New);
    EXPECT_EQ(numbers.Missing(), 2u);
}

TEST(RunNumbers, CountsFromWhereItBeganToReceive) {
    RunNumbers numbers(5000);
    EXPECT_EQ(numbers.Take(5000, At(0)), Arrival::New);
    EXPECT_EQ(numbers.Missing(), 0u);
    EXPECT_EQ(numbers.Take(4999, At(0)), Arrival::Unsure);
    EXPECT_EQ(numbers.Take(5000, At(0)), Arrival::Double);
}

TEST(RunNumbers, KeepsWhatTheDeviceDroppedApart) {
    RunNumbers numbers(1);
    numbers.Take(2, At(0));
    numbers.Take(9, At(0));
    EXPECT_THAT(numbers.Drop({1, 5}, At(0)), ElementsAre(NumberRange{1, 1}, NumberRange{3, 5}));
    EXPECT_EQ(numbers.Dropped(), 4u);
    EXPECT_EQ(numbers.Missing(), 3u);
    EXPECT_THAT(numbers.Drop({1, 6}, At(0)), ElementsAre(NumberRange{6, 6}));
    EXPECT_THAT(numbers.Drop({1, 6}, At(0)), IsEmpty());
    EXPECT_THAT(numbers.TellMissing(At(0)), ElementsAre(NumberRange{7, 8}));
    EXPECT_EQ(numbers.GapCount(), 3u);
}

TEST(RunNumbers, DropsWhatItHasNotHeardOf) {
    RunNumbers numbers(1);
    numbers.Take(1, At(0));
    EXPECT_THAT(numbers.Drop({4, 6}, At(0)), ElementsAre(NumberRange{4, 6}));
    EXPECT_THAT(numbers.TellMissing(At(0)), ElementsAre(NumberRange{2, 3}));
    // It was sent before it was dropped, and no answer had come.
    EXPECT_EQ(numbers.Take(5, At(0)), Arrival::Late);
    EXPECT_EQ(numbers.Dropped(), 2u);
}

TEST(RunNumbers, GivesUpTheOldestOfTooManyGaps) {
    RunNumbers numbers(1);
    const std::uint64_t most = RunNumbers::kMostGaps;
    for (std::uint64_t i = 1; i <= most; ++i) numbers.Take(2 * i, At(0));
    EXPECT_EQ(numbers.GapCount(), most);
    numbers.Take(2 * most + 2, At(0));
    EXPECT_EQ(numbers.GapCount(), most);
    EXPECT_EQ(numbers.Missing(), most + 1);
    EXPECT_EQ(numbers.Take(1, At(0)), Arrival::Unsure);
    EXPECT_EQ(numbers.Take(3, At(0)), Arrival::New);
    EXPECT_EQ(numbers.Take(4, At(0)), Arrival::Double);
}

TEST(RunNumbers, GoesOnFromWhatWasKept) {
    RunNumbers before(1);
    before.Take(3, At(0));
    before.Drop({5, 6}, At(0));
    before.TellMissing(At(0));
    before.Take(8, At(0));
    RunNumbers numbers(before.Keep());
    EXPECT_EQ(numbers.Missing(), before.Missing());
    EXPECT_EQ(numbers.Dropped(), 2u);
    EXPECT_EQ(numbers.Take(3, At(0)), Arrival::Double);
    EXPECT_EQ(numbers.Take(1, At(0)), Arrival::Late);
    EXPECT_THAT(numbers.TellMissing(At(0)), ElementsAre(NumberRange{7, 7}));
}

TEST(RunNumbers, LeavesOutKeptGapsThatCannotBe) {
    RunNumbers::Kept kept;
    kept.next = 10;
    const auto gap = [](std::uint64_t last) { return RunNumbers::Gap{last, RunNumbers::Kind::Missing, false, Time()}; };
    kept.gaps = {{2, gap(4)}, {3, gap(5)}, {6, gap(5)}, {8, gap(10)}, {0, gap(0)}};
    const RunNumbers numbers(kept);
    EXPECT_EQ(numbers.Missing(), 3u);
    EXPECT_EQ(numbers.GapCount(), 1u);
}

// Against sets that hold each number.
TEST(RunNumbers, AgreesWithCountingEachNumber) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        std::mt19937 random(seed);
        RunNumbers numbers(1);
        std::set<std::uint64_t> seen, dropped;
        std::uint64_t highest = 0;
        for (int i = 0; i < 60; ++i) {
            const std::uint64_t number = random() % 50 + 1;
            if (random() % 4 == 0) {
                const std::uint64_t last = number + random() % 5;
                numbers.Drop({number, last}, At(0));
                for (std::uint64_t n = number; n <= last; ++n) {
                    if (seen.count(n) == 0) dropped.insert(n);
                }
                highest = std::max(highest, last);
            } else if (random() % 8 == 0) {
                numbers.Expect(number, At(0));
                highest = std::max(highest, number);
            } else {
                EXPECT_EQ(numbers.Take(number, At(0)) == Arrival::Double, !seen.insert(number).second);
                dropped.erase(number);
                highest = std::max(highest, number);
            }
            ASSERT_EQ(numbers.Dropped(), dropped.size()) << "seed " << seed << ", step " << i;
            ASSERT_EQ(numbers.Missing(), highest - seen.size() - dropped.size()) << "seed " << seed << ", step " << i;
        }
    }
}

}  // namespace
}  // namespace qxlt
