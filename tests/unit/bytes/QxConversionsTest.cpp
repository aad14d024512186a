#include "QxConversions.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

std::vector<std::string> Split(const std::string& text, const std::string& delimiter) {
    std::vector<std::string> pieces;
    split(text, delimiter, pieces);
    return pieces;
}

TEST(Split, GivesThePiecesBetweenDelimiters) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(Split("a&&b&", "&"), (Pieces{"a", "", "b"}));
    EXPECT_EQ(Split("", "&"), Pieces{});
    EXPECT_EQ(Split("&a", "&"), (Pieces{"", "a"}));
    EXPECT_EQ(Split("abc", "&"), Pieces{"abc"});
    EXPECT_EQ(Split("&", "&"), Pieces{""});
    EXPECT_EQ(Split("a--b-c", "--"), (Pieces{"a", "b-c"}));
    Pieces appended = {"x"};
    split("a&b", "&", appended);
    EXPECT_EQ(appended, (Pieces{"x", "a", "b"}));
}

TEST(Conversions, TakesOneOffEachByte) {
    EXPECT_EQ(qxconversions::ToText("\x49\x6C\x00"s), "Hk\xFF");
    EXPECT_EQ(qxconversions::ToText(""), "");
}

TEST(Conversions, ReadsNumbersOfThirtyTwoBits) {
    EXPECT_EQ(qxconversions::ToNumber("\x02\x01\x01\x01"), "1");
    EXPECT_EQ(qxconversions::ToNumber("\0\0\0\0"s), "-1");
    EXPECT_EQ(qxconversions::ToNumber("\x01"), "0");
    EXPECT_EQ(qxconversions::ToNumber(""), "0");
    EXPECT_EQ(qxconversions::ToNumber("\x01\x02"), "256");
    EXPECT_EQ(qxconversions::ToNumber("\x01\x01\x01\x81"), "-2147483648");
    EXPECT_EQ(qxconversions::ToNumber("\x06\x01\x01\x01\x09\x09"), "5") << "further bytes add nothing";
}

}  // namespace
