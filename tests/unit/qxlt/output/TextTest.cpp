// Texts as they are shown.
#include "Text.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;

struct TextRow {
    std::string text;
    std::string repaired;
};

TEST(Text, RepairsEachOffendingByte) {
    const std::string r = "\xEF\xBF\xBD";
    const TextRow rows[] = {{"", ""},
                            {"abc\n", "abc\n"},
                            {std::string("\0", 1), std::string("\0", 1)},
                            {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
                            {"\xEF\xBF\xBF\xF4\x8F\xBF\xBF", "\xEF\xBF\xBF\xF4\x8F\xBF\xBF"},
                            {"\x80", r},
                            {"a\xFF"
                             "b",
                             "a" + r + "b"},
                            {"\xC3", r},                  // cut
                            {"\xE2\x82", r + r},          // cut
                            {"\xE2\x82x", r + r + "x"},   // a missing continuation
                            {"\xC0\xAF", r + r},          // longer than need be
                            {"\xE0\x9F\xBF", r + r + r},  // longer than need be
                            {"\xED\xA0\x80", r + r + r},  // a surrogate
                            {"\xF0\x8F\xBF\xBF", r + r + r + r},
                            {"\xF4\x90\x80\x80", r + r + r + r},  // past the last character
                            {"\xF5\x80", r + r}};
    for (const TextRow& row : rows) {
        EXPECT_EQ(ReplaceInvalid(row.text), row.repaired) << Hex(row.text);
        EXPECT_EQ(IsUtf8(row.text), row.text == row.repaired) << Hex(row.text);
    }
}

TEST(Text, ShowsValuesAsPeopleReadThem) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "\"\""},
        {"on", "\"on\""},
        {std::string("\x55\0\0\0", 4), "85"},
        {"\xFF\xFF\xFF\xFF", "-1"},
        {std::string("\1", 1), "1"},
        {"\xFF\xFF", "65535"},
        {std::string("\1\0\0\0\0\0\0\x80", 8), "9223372036854775809"},
        {std::string("\1\2\3", 3), "0x010203"}};
    for (const auto& [bytes, shown] : rows) EXPECT_EQ(ShownValue(bytes), shown);
}

TEST(Text, ReadsHexBack) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
    EXPECT_EQ(Unhex(Hex(all)), all);
    for (const char* const none : {"0", "0g", "FF", "0x"}) EXPECT_EQ(Unhex(none), none);
}

TEST(Text, PadsByCharacters) {
    EXPECT_EQ(Pad("\xC3\xA4", 3), "\xC3\xA4  ");
    EXPECT_EQ(Pad("abcd", 3), "abcd");
}

TEST(Text, MeasuresTextsAsTheyAreShown) {
    EXPECT_EQ(WidestOf({}), 0u);
    EXPECT_EQ(WidestOf({"a", "abc", "ab"}), 3u);
    EXPECT_EQ(WidestOf({"abc", "\x01"}), 4u);
}

TEST(Text, AlignsNumbersToTheRight) {
    EXPECT_EQ(RightAligned("ab", 4), "  ab");
    EXPECT_EQ(RightAligned("abcd", 4), "abcd");
    EXPECT_EQ(RightAligned("abcde", 4), "abcde");
}

// What would move a terminal's cursor, or is no character, and its neighbours.
TEST(Text, EscapesWhatATerminalWouldObey) {
    const std::vector<std::pair<std::string, std::string>> rows = {{"", ""},
                                                                   {"\x1F", "\\x1f"},
                                                                   {" ", " "},
                                                                   {"~", "~"},
                                                                   {"\x7F", "\\x7f"},
                                                                   {"a\nb\tc", "a\\nb\\tc"},
                                                                   {"\xC2\x80", "\\xc2\\x80"},
                                                                   {"\xC2\x9F", "\\xc2\\x9f"},
                                                                   {"\xC2\xA0", "\xC2\xA0"},
                                                                   {"\xC3\x80", "\xC3\x80"},
                                                                   {"\xE2\x82\xAC", "\xE2\x82\xAC"},
                                                                   {"a\xFF", "a\\xff"},
                                                                   {"\xC3", "\\xc3"}};
    for (const auto& [text, shown] : rows) EXPECT_EQ(Printable(text), shown);
}

}  // namespace
