#include "QxArgList.h"

#include <gtest/gtest.h>

namespace {

using Values = std::vector<IQxData::HSICallArg>;

TEST(QxArgList, WritesOverWhatStandsThere) {
    Values values = {
        {{"name", "a long value that has a block of its own"}, {"second", "2"}}, {}, {{"", "3"}}, {{"", "4"}}};
    QxArgList list(values);
    list.AddPlain() = "x";
    list.AddPlain() = "y";
    EXPECT_EQ(list.Add(), (IQxData::HSICallArg{{"", "3"}}));
    list.End();
    EXPECT_EQ(values, (Values{{{"", "x"}}, {{"", "y"}}, {{"", "3"}}}));
}

TEST(QxArgList, AddsToAnEmptyList) {
    Values values;
    QxArgList list(values);
    EXPECT_EQ(list.AddPlain(), "");
    EXPECT_TRUE(list.Add().empty());
    list.End();
    EXPECT_EQ(values, (Values{{{"", ""}}, {}}));
}

TEST(QxArgList, NothingAddedLeavesNothing) {
    Values values = {{{"", "old"}}};
    QxArgList(values).End();
    EXPECT_TRUE(values.empty());
}

}  // namespace
