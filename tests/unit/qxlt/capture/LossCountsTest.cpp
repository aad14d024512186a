// Counts of lost calls.
#include "LossCounts.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;

TEST(LossCounts, CountsTheCallsOfALostDumpAsDropped) {
    LossCounts counts;
    counts.recorded = 5;
    counts.delivered = 3;
    counts.dropped = 2;
    counts.LoseDump();
    EXPECT_EQ(counts.delivered, 0u);
    EXPECT_EQ(counts.dropped, 5u);
}

TEST(LossCounts, LeavesOutWhatWasBeforeTheRunAndNeverFallsBelowZero) {
    const LossCounts counts{7, 5, 1, 1, 0, 0, 0};
    EXPECT_EQ(counts.Without(2).recorded, 5u);
    EXPECT_EQ(counts.Without(2).delivered, 3u);
    EXPECT_EQ(counts.Without(2).overwritten, 1u);
    EXPECT_EQ(counts.Without(6).recorded, 1u);
    EXPECT_EQ(counts.Without(6).delivered, 0u);
    EXPECT_EQ(counts.Without(8).recorded, 0u);
}

}  // namespace
