// Which calls are within which.
#include "CallNesting.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

namespace {

using namespace qxlt;

struct Row {
    std::uint64_t time;
    std::uint64_t exitTime;
    std::size_t depth;
    std::uint64_t end;
};

void ExpectPlaces(const char* what, const std::vector<Row>& rows) {
    CallNesting nesting;
    for (const Row& row : rows) {
        const CallNesting::Place place = nesting.Enter(row.time, row.exitTime);
        EXPECT_EQ(place.depth, row.depth) << what << ", time " << row.time;
        EXPECT_EQ(place.end, row.end) << what << ", time " << row.time;
    }
}

TEST(CallNesting, FindsTheCallsThatHaveNotEnded) {
    ExpectPlaces("one after the other", {{10, 20, 0, 20}, {30, 40, 0, 40}});
    ExpectPlaces("one within the other", {{10, 50, 0, 50}, {20, 40, 1, 40}, {25, 30, 2, 30}, {41, 42, 1, 42}});
    ExpectPlaces("back at the top", {{10, 50, 0, 50}, {20, 50, 1, 50}, {51, 60, 0, 60}});
}

TEST(CallNesting, TakesAnEndForOverWhenTheNextBegins) {
    ExpectPlaces("begins at the end", {{10, 20, 0, 20}, {20, 30, 0, 30}});
    ExpectPlaces("no time at all", {{10, 10, 0, 10}, {10, 20, 0, 20}, {10, 20, 1, 20}});
}

TEST(CallNesting, HoldsNothingInACallWithoutExit) {
    ExpectPlaces("alone", {{10, 0, 0, 10}, {20, 30, 0, 30}});
    ExpectPlaces("within another", {{10, 50, 0, 50}, {20, 0, 1, 20}, {30, 0, 1, 30}, {60, 0, 0, 60}});
}

// Exits are coarser than entries, and damaged times may be anything.
TEST(CallNesting, CutsWhatOverlaps) {
    ExpectPlaces("ends later than its caller", {{10, 30, 0, 30}, {20, 31, 1, 30}, {30, 40, 0, 40}});
    ExpectPlaces("by far", {{10, 30, 0, 30}, {20, UINT64_MAX, 1, 30}, {25, 26, 2, 26}, {31, 32, 0, 32}});
    ExpectPlaces("ends before it began", {{100, 50, 0, 100}, {120, 130, 0, 130}});
    ExpectPlaces("the last moment", {{UINT64_MAX, UINT64_MAX, 0, UINT64_MAX}, {UINT64_MAX, 0, 0, UINT64_MAX}});
}

TEST(CallNesting, LeavesAloneWhatComesLate) {
    ExpectPlaces("late", {{100, 200, 0, 200}, {50, 300, 0, 300}, {150, 160, 1, 160}, {250, 260, 0, 260}});
}

TEST(CallNesting, PutsTheLongerOfTwoCallsFirst) {
    std::vector<CallTimes> calls = {{10, 0, 1}, {20, 30, 5}, {10, 30, 3}, {10, 40, 4}, {10, 40, 2}};
    std::sort(calls.begin(), calls.end(), ComesBefore);
    std::vector<std::uint64_t> keys;
    for (const CallTimes& call : calls) keys.push_back(call.key);
    EXPECT_THAT(keys, testing::ElementsAre(2, 4, 3, 1, 5));
}

}  // namespace
