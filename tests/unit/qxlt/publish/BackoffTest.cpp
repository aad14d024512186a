#include "Backoff.h"

#include <gtest/gtest.h>

#include <set>

namespace qxlt {
namespace {

TEST(Backoff, GrowsToAMinuteAndBeginsAnew) {
    Backoff backoff(1);
    for (const double limit : {2, 4, 8, 16, 32, 60, 60}) {
        const double wait = backoff.Next().count();
        EXPECT_GE(wait, 0.1);
        EXPECT_LE(wait, limit);
    }
    backoff.Reset();
    EXPECT_LE(backoff.Next().count(), 2);
}

TEST(Backoff, SpreadsWhoBeginsAtTheSameMoment) {
    std::set<int> tenths;
    for (std::uint64_t seed = 0; seed < 1000; ++seed)
        tenths.insert(static_cast<int>(10 * Backoff(seed).Next().count()));
    EXPECT_GE(tenths.size(), 19u);
}

TEST(Backoff, WaitsLongWherePeopleHaveToAct) {
    Backoff backoff(1);
    for (int i = 0; i < 100; ++i) {
        const double wait = backoff.NextLong().count();
        EXPECT_GE(wait, 30);
        EXPECT_LE(wait, 60);
    }
}

}  // namespace
}  // namespace qxlt
