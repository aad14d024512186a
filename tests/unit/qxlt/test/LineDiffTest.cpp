// How lines that came are told from lines that were expected.
#include "LineDiff.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using namespace qxlt;
using Kind = LineStep::Kind;

// Each letter stands for a line.
std::vector<LineStep> Steps(const std::string& expected, const std::string& actual) {
    return Align(expected.size(), actual.size(),
                 [&](std::size_t e, std::size_t a) { return expected[e] == actual[a]; });
}

std::string Shown(const std::string& expected, const std::string& actual) {
    std::string text;
    for (const LineStep& step : Steps(expected, actual)) {
        if (step.kind == Kind::Missing) text += std::string("-") + expected[step.expected];
        if (step.kind == Kind::Unexpected) text += std::string("+") + actual[step.actual];
    }
    return text;
}

std::size_t Differences(const std::string& expected, const std::string& actual) {
    const std::vector<LineStep> steps = Steps(expected, actual);
    return static_cast<std::size_t>(
        std::count_if(steps.begin(), steps.end(), [](const LineStep& step) { return step.kind != Kind::Same; }));
}

TEST(LineDiff, AlignsBothSides) {
    const std::vector<std::vector<std::string>> rows = {
        {"", "", ""},        {"abc", "abc", ""},     {"abc", "ac", "-b"},
        {"ac", "abc", "+b"}, {"abc", "axc", "-b+x"}, {"abcd", "bcda", "-a+a"},
        {"", "a", "+a"},     {"ab", "", "-a-b"},     {"aab", "ab", "-a"}};
    for (const auto& row : rows) EXPECT_EQ(Shown(row[0], row[1]), row[2]) << row[0] << " " << row[1];
}

TEST(LineDiff, StepsPastEachLineInOrder) {
    for (const auto& [expected, actual] : {std::pair<std::string, std::string>("abcde", "xbdye"), {"ab", "ab"}}) {
        std::string left;
        std::string right;
        for (const LineStep& step : Steps(expected, actual)) {
            if (step.kind != Kind::Unexpected) left += expected[step.expected];
            if (step.kind != Kind::Missing) right += actual[step.actual];
            EXPECT_TRUE(step.kind != Kind::Same || left.back() == right.back());
        }
        EXPECT_EQ(left, expected);
        EXPECT_EQ(right, actual);
    }
}

// The length of the longest text that both can be cut down to.
std::size_t Common(const std::string& left, const std::string& right) {
    if (left.empty() || right.empty()) return 0;
    if (left[0] == right[0]) return 1 + Common(left.substr(1), right.substr(1));
    return std::max(Common(left.substr(1), right), Common(left, right.substr(1)));
}

// All texts of at most that many letters out of three.
std::vector<std::string> Texts(std::size_t most) {
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; texts[i].size() < most; ++i) {
        for (const char letter : {'a', 'b', 'c'}) texts.push_back(texts[i] + letter);
    }
    return texts;
}

TEST(LineDiff, ShowsAsLittleAsCanBe) {
    for (const std::string& left : Texts(4)) {
        for (const std::string& right : Texts(4)) {
            const std::size_t common = Common(left, right);
            EXPECT_EQ(Differences(left, right), left.size() + right.size() - 2 * common) << left << " " << right;
        }
    }
}

// The table has a row and a column more than there are lines, and at most 4,000,000 entries.
TEST(LineDiff, DoesNotAlignWhatIsTooLarge) {
    const auto size = [](std::size_t expected, std::size_t actual) {
        const std::string left = std::string(expected - 10, 'a') + "c" + std::string(9, 'a');
        const std::string right = std::string(actual - 10, 'b') + "c" + std::string(9, 'b');
        return Differences(left, right);
    };
    EXPECT_EQ(size(1999, 1999), 1998u + 1998u);
    EXPECT_EQ(size(1999, 2000), 1999u + 2000u);
    EXPECT_EQ(size(2000, 1999), 2000u + 1999u);
}

}  // namespace
