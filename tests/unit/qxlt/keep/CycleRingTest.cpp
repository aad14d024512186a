// Which cycles are in memory when an event fires.
#include "CycleRing.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using namespace qxlt;
using testing::ElementsAre;

void Add(CycleRing& ring, std::uint64_t number, std::size_t size) {
    ring.Begin(number, number == 1);
    const std::string process = "m";
    const std::vector<char> bytes(size, 'x');
    ring.Add({process, bytes, std::nullopt, {}});
}

std::vector<std::uint64_t> NumbersOf(const CycleRing& ring) {
    std::vector<std::uint64_t> numbers;
    for (const HeldCycle& cycle : ring.Cycles()) numbers.push_back(cycle.number);
    return numbers;
}

TEST(CycleRing, HoldsTheLastCycles) {
    CycleRing ring(2, 1000);
    for (std::uint64_t number = 1; number <= 6; ++number) Add(ring, number, 10);
    EXPECT_THAT(NumbersOf(ring), ElementsAre(4, 5, 6));
    EXPECT_FALSE(ring.IsShort());
    EXPECT_EQ(ring.Cycles().front().size, 10U);
}

// What the first one brought is evaluated with the second one.
TEST(CycleRing, KeepsTheCycleThatPrimesWithTheNextOne) {
    CycleRing ring(0, 1000);
    Add(ring, 1, 10);
    EXPECT_THAT(NumbersOf(ring), ElementsAre(1));
    Add(ring, 2, 10);
    EXPECT_THAT(NumbersOf(ring), ElementsAre(1, 2));
    Add(ring, 3, 10);
    EXPECT_THAT(NumbersOf(ring), ElementsAre(3));
}

TEST(CycleRing, DropsTheOldestWhenTheyTakeTooMuch) {
    CycleRing ring(3, 30);
    for (std::uint64_t number = 2; number <= 4; ++number) Add(ring, number, 10);
    EXPECT_THAT(NumbersOf(ring), ElementsAre(2, 3, 4));
    EXPECT_FALSE(ring.IsShort());
    Add(ring, 5, 11);
    EXPECT_THAT(NumbersOf(ring), ElementsAre(4, 5));
    EXPECT_TRUE(ring.IsShort());
    Add(ring, 6, 31);  // the one in progress is held whatever it takes
    EXPECT_THAT(NumbersOf(ring), ElementsAre(6));
}

// Once the cycles that were dropped would not be there anyway.
TEST(CycleRing, IsShortForAsLongAsOneIsMissing) {
    CycleRing ring(2, 20);
    Add(ring, 2, 15);
    Add(ring, 3, 10);
    EXPECT_TRUE(ring.IsShort());
    Add(ring, 4, 5);
    EXPECT_TRUE(ring.IsShort());
    Add(ring, 5, 5);
    EXPECT_THAT(NumbersOf(ring), ElementsAre(3, 4, 5));
    EXPECT_FALSE(ring.IsShort());
}

}  // namespace
