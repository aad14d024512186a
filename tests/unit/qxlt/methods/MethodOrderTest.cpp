// The order of methods in tables.
#include "MethodOrder.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;
using testing::ElementsAre;

std::vector<std::string> Sorted(MethodColumn column, bool reversed = false) {
    MethodRow fast;
    fast.method = "fast";
    fast.calls = 9;
    fast.timed = 9;
    fast.least = 1;
    fast.mean = 3;
    fast.p99 = 4;
    fast.greatest = 9;
    fast.threads = 1;
    MethodRow slow = fast;
    slow.method = "slow";
    slow.calls = 3;
    slow.errors = 1;
    slow.least = 2;
    slow.mean = 4;
    slow.p99 = 5;
    slow.greatest = 8;
    slow.threads = 2;
    MethodRow log;
    log.method = "log";
    log.calls = 5;
    log.threads = 1;
    std::vector<MethodRow> rows{log, slow, fast};
    Sort(rows, {column, reversed});
    std::vector<std::string> names;
    for (const MethodRow& row : rows) names.push_back(row.method);
    return names;
}

TEST(MethodOrder, PutsTheMostFirst) {
    EXPECT_THAT(Sorted(MethodColumn::Calls), ElementsAre("fast", "log", "slow"));
    EXPECT_THAT(Sorted(MethodColumn::Errors), ElementsAre("slow", "fast", "log"));
    EXPECT_THAT(Sorted(MethodColumn::Least), ElementsAre("slow", "fast", "log"));
    EXPECT_THAT(Sorted(MethodColumn::Mean), ElementsAre("slow", "fast", "log"));
    EXPECT_THAT(Sorted(MethodColumn::P99), ElementsAre("slow", "fast", "log"));
    EXPECT_THAT(Sorted(MethodColumn::Greatest), ElementsAre("fast", "slow", "log"));
    EXPECT_THAT(Sorted(MethodColumn::Threads), ElementsAre("slow", "fast", "log"));
    EXPECT_THAT(Sorted(MethodColumn::Name), ElementsAre("fast", "log", "slow"));
}

TEST(MethodOrder, IsReversedButForRowsWithoutDuration) {
    EXPECT_THAT(Sorted(MethodColumn::Calls, true), ElementsAre("slow", "log", "fast"));
    EXPECT_THAT(Sorted(MethodColumn::Errors, true), ElementsAre("fast", "log", "slow"));
    EXPECT_THAT(Sorted(MethodColumn::Least, true), ElementsAre("fast", "slow", "log"));
    EXPECT_THAT(Sorted(MethodColumn::Name, true), ElementsAre("slow", "log", "fast"));
}

}  // namespace
