// The values that came in one place.
#include "DistinctValues.h"

#include <gmock/gmock.h>

namespace {

using qxlt::DistinctValues;
using testing::ElementsAre;
using testing::Pair;

class Values {
public:
    void Add(const std::string& value) { m_values.Add(value, m_left); }
    qxlt::ValueRow Row() const {
        qxlt::ValueRow row;
        m_values.FillIn(row);
        return row;
    }

private:
    DistinctValues m_values;
    std::size_t m_left = 20000;
};

TEST(DistinctValues, TellsThoseThatCameMostOften) {
    Values values;
    for (const char* const value : {"b", "a", "c", "c", "d", "e", "f"}) values.Add(value);
    EXPECT_EQ(values.Row().distinct, 6U);
    EXPECT_FALSE(values.Row().more);
    EXPECT_THAT(values.Row().most, ElementsAre(Pair("c", 2), Pair("a", 1), Pair("b", 1), Pair("d", 1), Pair("e", 1)));
}

TEST(DistinctValues, KeepsSoManyAndSaysThatThereWereMore) {
    Values values;
    for (std::size_t i = 0; i < DistinctValues::kMost; ++i) values.Add(std::to_string(i));
    values.Add("3");
    EXPECT_FALSE(values.Row().more);
    values.Add("another");
    values.Add("3");
    EXPECT_TRUE(values.Row().more);
    EXPECT_EQ(values.Row().distinct, DistinctValues::kMost);
    EXPECT_THAT(values.Row().most.front(), Pair("3", 3));
}

TEST(DistinctValues, TakesLongOnesForWhatTheyBeginWith) {
    Values values;
    const std::string longest(DistinctValues::kLongest, 'x');
    values.Add(longest);
    values.Add(longest + "1");
    values.Add(longest + "2");
    EXPECT_EQ(values.Row().distinct, 2U);
    EXPECT_LE(values.Row().most.front().first.size(), DistinctValues::kLongest + 2);
}

TEST(DistinctValues, StopsWhereTheMemoryEnds) {
    std::size_t left = 200;
    DistinctValues values;
    values.Add("a", left);
    values.Add("b", left);
    values.Add(std::string(100, 'c'), left);
    values.Add("a", left);
    qxlt::ValueRow row;
    values.FillIn(row);
    EXPECT_TRUE(row.more);
    EXPECT_THAT(row.most, ElementsAre(Pair("a", 2), Pair("b", 1)));
}

}  // namespace
