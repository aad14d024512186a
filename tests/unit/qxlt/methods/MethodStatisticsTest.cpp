// The numbers of methods, interval by interval.
#include "MethodStatistics.h"

#include <gmock/gmock.h>

#include "Calls.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Names(const std::vector<MethodRow>& rows) {
    std::vector<std::string> names;
    for (const MethodRow& row : rows) names.push_back(row.process + " " + row.method);
    return names;
}

TEST(MethodStatistics, TellsOfDurations) {
    MethodStatistics statistics({});
    EXPECT_THAT(statistics.Interval(), IsEmpty());
    for (std::uint64_t i = 1; i <= 200; ++i) statistics.Add(MadeCall("Set", 1000, 1000 + i * 1000).View());
    statistics.Add(MadeCall("Set", 1000, 0).View());    // a log record
    statistics.Add(MadeCall("Set", 1000, 999).View());  // damaged
    const std::vector<MethodRow> rows = statistics.Interval();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].method, "audio.Set");
    EXPECT_EQ(rows[0].calls, 202U);
    EXPECT_EQ(rows[0].timed, 200U);
    EXPECT_EQ(rows[0].least, 1000U);
    EXPECT_EQ(rows[0].mean, 100500U);
    EXPECT_GE(rows[0].p99, 198000U);
    EXPECT_LE(rows[0].p99, 200000U);  // never above the greatest
    EXPECT_EQ(rows[0].greatest, 200000U);
}

TEST(MethodStatistics, HasNoDurationOfWhatHasNotReturned) {
    MethodStatistics statistics({});
    statistics.Add(MadeCall("Log", 1000, 0).View());
    EXPECT_EQ(statistics.Interval()[0].calls, 1U);
    EXPECT_EQ(statistics.Interval()[0].timed, 0U);
}

TEST(MethodStatistics, KeepsAMeanOfDamagedTimes) {
    MethodStatistics statistics({});
    for (int i = 0; i < 3; ++i) statistics.Add(MadeCall("Set", 0, UINT64_MAX).View());
    EXPECT_EQ(statistics.Interval()[0].mean, UINT64_MAX / 3);
    EXPECT_EQ(statistics.Interval()[0].p99, UINT64_MAX);
}

TEST(MethodStatistics, TellsIntervalsFromTheWhole) {
    MethodStatistics statistics({});
    statistics.Add(MadeCall("Set", 1000, 3000).View());
    EXPECT_EQ(statistics.Whole()[0].calls, 0U);
    statistics.EndInterval();
    EXPECT_EQ(statistics.Interval()[0].calls, 0U);
    statistics.Add(MadeCall("Set", 1000, 9000).Thread(4).View());
    statistics.EndInterval();
    const MethodRow whole = statistics.Whole()[0];
    EXPECT_EQ(whole.calls, 2U);
    EXPECT_EQ(whole.least, 2000U);
    EXPECT_EQ(whole.greatest, 8000U);
    EXPECT_EQ(whole.mean, 5000U);
    EXPECT_EQ(whole.p99, 8000U);
    EXPECT_EQ(whole.threads, 2U);
}

TEST(MethodStatistics, TellsMethodsApartByProcessPackageAndName) {
    MethodStatistics statistics({});
    statistics.Add(MadeCall("Set", 1, 2).Site(1, "a").View());
    statistics.Add(MadeCall("Set", 1, 2).Site(2, "a").View());  // another call site of the same
    statistics.Add(MadeCall("Set", 1, 2).Site(3, "b").View());
    statistics.Add(MadeCall("Set", 1, 2).Site(1, "a").Process("n").View());
    statistics.Add(MadeCall("", 1, 2).Site(8, "").View());
    statistics.Add(MadeCall("", 1, 2).Site(9, "").View());
    EXPECT_THAT(Names(statistics.Interval()),
                ElementsAre("m location 8", "m location 9", "m a.Set", "m b.Set", "n a.Set"));
    EXPECT_EQ(statistics.Interval()[2].calls, 2U);
}

// A dump may describe a number anew.
TEST(MethodStatistics, FollowsACallSiteThatBecomesAnother) {
    MethodStatistics statistics({});
    statistics.Add(MadeCall("Get", 1, 2).Site(1, "a").View());
    statistics.Add(MadeCall("Set", 1, 2).Site(1, "a").View());
    statistics.Add(MadeCall("Get", 1, 2).Site(1, "a").View());
    EXPECT_THAT(Names(statistics.Interval()), ElementsAre("m a.Get", "m a.Set"));
    EXPECT_EQ(statistics.Interval()[0].calls, 2U);
}

TEST(MethodStatistics, CountsErrorsThatPatternsName) {
    MethodStatistics statistics({{"\"no*\"", "\"bad\""}, false});
    statistics.Add(MadeCall("Set", 1, 2).Returns("none").View());
    statistics.Add(MadeCall("Set", 1, 2).Returns("bad").View());
    statistics.Add(MadeCall("Set", 1, 2).Returns("good").View());
    statistics.Add(MadeCall("Set", 1, 0).Returns("bad").View());  // has not returned
    statistics.Add(MadeCall("Set", 1, 2).View());
    EXPECT_EQ(statistics.Interval()[0].errors, 2U);
    MethodStatistics all({{"*"}, false});
    all.Add(MadeCall("Set", 1, 2).View());  // returns nothing
    EXPECT_EQ(all.Interval()[0].errors, 0U);
}

TEST(MethodStatistics, TellsValuesWhereTheyAreWanted) {
    MethodStatistics statistics({{}, true});
    statistics.Add(MadeCall("Set", 1, 2).In("a").In("b").Returns("r").View());
    statistics.Add(MadeCall("Set", 1, 2).In("a").In("c").Returns("r").View());
    const std::vector<ValueRow> values = statistics.Interval()[0].values;
    ASSERT_EQ(values.size(), 3U);
    EXPECT_EQ(values[0].value, "in.0");
    EXPECT_EQ(values[0].distinct, 1U);
    EXPECT_EQ(values[1].value, "in.1");
    EXPECT_EQ(values[1].distinct, 2U);
    EXPECT_EQ(values[2].value, "ret");
    EXPECT_THAT(values[2].most, ElementsAre(testing::Pair("\"r\"", 2)));
    MethodStatistics others({});
    others.Add(MadeCall("Set", 1, 2).In("a").View());
    EXPECT_THAT(others.Interval()[0].values, IsEmpty());
}

TEST(MethodStatistics, CountsSoManyThreads) {
    MethodStatistics statistics({});
    for (unsigned short i = 0; i < CallingThreads::kMost; ++i) statistics.Add(MadeCall("Set", 1, 2).Thread(i).View());
    statistics.Add(MadeCall("Set", 1, 2).Thread(0).View());
    EXPECT_EQ(statistics.Interval()[0].threads, CallingThreads::kMost);
    EXPECT_FALSE(statistics.Interval()[0].moreThreads);
    statistics.Add(MadeCall("Set", 1, 2).Thread(CallingThreads::kMost).View());
    EXPECT_EQ(statistics.Interval()[0].threads, CallingThreads::kMost);
    statistics.EndInterval();
    EXPECT_TRUE(statistics.Whole()[0].moreThreads);
}

TEST(MethodStatistics, PutsMethodsBeyondTheLimitTogether) {
    MethodStatistics statistics({{}, true});
    for (unsigned i = 0; i < MethodStatistics::kMostMethods + 2; ++i) {
        statistics.Add(MadeCall(std::to_string(i), 1, 2).Site(i, "a").In("x").View());
    }
    const std::vector<MethodRow> rows = statistics.Interval();
    ASSERT_EQ(rows.size(), MethodStatistics::kMostMethods + 1);
    EXPECT_EQ(rows.back().method, "other methods");
    EXPECT_EQ(rows.back().calls, 2U);
    EXPECT_THAT(rows.back().values, IsEmpty());
}

// Names may be as long as a description.
TEST(MethodStatistics, PutsMethodsTogetherWhoseNamesTakeTooMuch) {
    MethodStatistics statistics({});
    for (unsigned i = 0; i < 20; ++i) {
        statistics.Add(MadeCall(std::to_string(i), 1, 2).Site(i, std::string(1U << 18U, 'p')).View());
    }
    EXPECT_EQ(statistics.Interval().size(), 16U);
    EXPECT_EQ(statistics.Interval().back().calls, 5U);
}

}  // namespace
