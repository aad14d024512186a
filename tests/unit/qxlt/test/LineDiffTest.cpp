// How lines that came are told from lines that were expected.
#include "LineDiff.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "Json.h"

namespace {

using namespace qxlt;

std::vector<JsonObject> Parsed(const std::vector<std::string>& lines) {
    std::vector<JsonObject> parsed;
    for (const std::string& line : lines) parsed.push_back(JsonObject::parse(line));
    return parsed;
}

std::string Shown(const std::vector<DiffLine>& diff) {
    std::string text;
    for (const DiffLine& line : diff) {
        text += (line.kind == DiffLine::Kind::Missing ? "-" : "+") + line.line->at("e").get<std::string>();
    }
    return text;
}

std::vector<JsonObject> Events(const std::string& names) {
    std::vector<JsonObject> events;
    for (const char name : names) events.push_back({{"e", std::string(1, name)}});
    return events;
}

// The same as lines that are compared faster.
std::vector<JsonObject> Numbers(const std::string& names) {
    return std::vector<JsonObject>(names.begin(), names.end());
}

TEST(LineDiff, AlignsBothSides) {
    const std::vector<std::vector<std::string>> rows = {
        {"", "", ""},        {"abc", "abc", ""},     {"abc", "ac", "-b"},
        {"ac", "abc", "+b"}, {"abc", "axc", "-b+x"}, {"abcd", "bcda", "-a+a"},
        {"", "a", "+a"},     {"ab", "", "-a-b"},     {"aab", "ab", "-a"}};
    for (const auto& row : rows)
        EXPECT_EQ(Shown(Diff(Events(row[0]), Events(row[1]))), row[2]) << row[0] << " " << row[1];
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
            EXPECT_EQ(Diff(Numbers(left), Numbers(right)).size(), left.size() + right.size() - 2 * common)
                << left << " " << right;
        }
    }
}

// The table has a row and a column more than there are lines, and at most 4,000,000 entries.
TEST(LineDiff, DoesNotAlignWhatIsTooLarge) {
    const auto size = [](std::size_t expected, std::size_t actual) {
        const std::string left = std::string(expected - 10, 'a') + "c" + std::string(9, 'a');
        const std::string right = std::string(actual - 10, 'b') + "c" + std::string(9, 'b');
        return Diff(Numbers(left), Numbers(right)).size();
    };
    EXPECT_EQ(size(1999, 1999), 1998u + 1998u);
    EXPECT_EQ(size(1999, 2000), 1999u + 2000u);
    EXPECT_EQ(size(2000, 1999), 2000u + 1999u);
}

TEST(LineDiff, LetsExpectedObjectsLeaveKeysOut) {
    const JsonObject actual = Parsed({R"({"a":1,"call":{"key":7,"pid":3,"in":[[{"name":""}]]}})"}).front();
    const std::vector<std::pair<std::string, bool>> rows = {{R"({})", true},
                                                            {R"({"call":{"pid":3}})", true},
                                                            {R"({"call":{"pid":4}})", false},
                                                            {R"({"call":{"key":8}})", true},
                                                            {R"({"call":{"in":[[{"name":""}]]}})", true},
                                                            {R"({"call":{"in":[]}})", false},
                                                            {R"({"b":1})", false},
                                                            {R"({"a":{"b":1}})", false}};
    for (const auto& [expected, same] : rows)
        EXPECT_EQ(IsExpected(Parsed({expected}).front(), actual), same) << expected;
}

// Lines that were kept before values stood beside their bytes are still what is expected.
TEST(LineDiff, LeavesOutWhatAnExpectedLineDoesNotHave) {
    struct Row {
        const char* expected;
        const char* actual;
        bool same;
    };
    const Row rows[] = {
        {R"({"in":[[{"hex":"01"}]]})", R"({"in":[[{"hex":"01","int":1}]],"wall":"w","duration":3})", true},
        {R"({"in":[[{"hex":"01"}]]})", R"({"in":[[{"hex":"02","int":2}]]})", false},
        {R"({"in":[[{"hex":"01"}]]})", R"({"in":[[{"hex":"01"},{"hex":"02"}]]})", false},
        {R"({"in":[[{"hex":"01"}]]})", R"({"in":[[{"hex":"01"}],[]]})", false},
        {R"({"in":[[{"hex":"01"}],[]]})", R"({"in":[[{"hex":"01"}]]})", false},
        {R"({"in":[[{"hex":"01","int":1}]]})", R"({"in":[[{"hex":"01"}]]})", false},
        {R"({"in":[]})", R"({"in":{}})", false}};
    for (const Row& row : rows) {
        EXPECT_EQ(IsExpected(JsonObject::parse(row.expected), JsonObject::parse(row.actual)), row.same) << row.actual;
    }
}

}  // namespace
