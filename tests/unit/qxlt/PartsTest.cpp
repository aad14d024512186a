// The tool's small parts.
#include <gmock/gmock.h>

#include "Failure.h"
#include "Json.h"
#include "LineDiff.h"
#include "LossCounts.h"
#include "Nearest.h"
#include "ProcessNames.h"
#include "ProcessWatch.h"
#include "ScriptOptions.h"
#include "Text.h"
#include "TimeText.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

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

TEST(Text, PadsByCharacters) {
    EXPECT_EQ(Pad("\xC3\xA4", 3), "\xC3\xA4  ");
    EXPECT_EQ(Pad("abcd", 3), "abcd");
}

TEST(Json, AddsTheBytesOfTextThatIsNotUtf8) {
    JsonObject object = JsonObject::object();
    AddText(object, "a", "ok\"\\\n");
    AddText(object, "b", "\xFF");
    AddTexts(object, "c", {"x", "y"});
    EXPECT_EQ(object.dump(), "{\"a\":\"ok\\\"\\\\\\n\",\"b\":\"\xEF\xBF\xBD\",\"bHex\":\"ff\",\"c\":[\"x\",\"y\"]}");
}

TEST(Json, TakesTextToTheDeepestNesting) {
    EXPECT_EQ(ParseJson("a", std::string(64, '[') + "1" + std::string(64, ']')).size(), 1u);
    EXPECT_THROW(ParseJson("a", std::string(65, '[') + "1" + std::string(65, ']')), Failure);
}

TEST(LossCounts, CountsTheCallsOfALostDumpAsDropped) {
    LossCounts counts;
    counts.recorded = 5;
    counts.delivered = 3;
    counts.dropped = 2;
    counts.LoseDump();
    EXPECT_EQ(counts.delivered, 0u);
    EXPECT_EQ(counts.dropped, 5u);
}

TEST(Nearest, MeasuresDistances) {
    EXPECT_EQ(EditDistance("kitten", "sitting"), 3u);
    EXPECT_EQ(EditDistance("", "abc"), 3u);
    EXPECT_EQ(PartDistance("id=", "x;id:42"), 1u);
    EXPECT_EQ(PartDistance("id=", "x;id=42"), 0u);
    EXPECT_EQ(EditDistance(std::string(100000, 'a'), std::string(100000, 'b')), 64u);
}

TEST(Nearest, SuggestsOnlyWhatIsNear) {
    EXPECT_EQ(Suggestion("SetVolum", {"GetVolume", "SetVolume"}), "SetVolume");
    EXPECT_EQ(Suggestion("SetVolum", {"Open"}), "");
}

TEST(Nearest, KeepsTheThreeNearestEachOnce) {
    NearestValues nearest;
    for (const int value : {9, 3, 7, 3, 1, 5}) nearest.Add(static_cast<std::uint64_t>(value), std::to_string(value));
    EXPECT_THAT(nearest.Values(), ElementsAre("1", "3", "5"));
}

TEST(ScriptOptions, GivesEachScriptItsOption) {
    using Arguments = std::vector<std::string>;
    EXPECT_EQ(ExpandScripts({"replay", "-s", "a.xml", "b.xml", "capture"}),
              (Arguments{"replay", "-s", "a.xml", "-s", "b.xml", "capture"}));
    EXPECT_EQ(ExpandScripts({"replay", "-s", "a", "-p", "x", "b.xml"}),
              (Arguments{"replay", "-s", "a", "-p", "x", "b.xml"}));
    EXPECT_EQ(ExpandScripts({"replay", "--script", "a.xml", "dump", "b.xml"}),
              (Arguments{"replay", "--script", "a.xml", "dump", "b.xml"}));
    EXPECT_EQ(ExpandScripts({"replay", "-s"}), (Arguments{"replay", "-s"}));
}

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

TEST(LineDiff, AlignsBothSides) {
    const std::vector<std::vector<std::string>> rows = {
        {"", "", ""},        {"abc", "abc", ""},     {"abc", "ac", "-b"},
        {"ac", "abc", "+b"}, {"abc", "axc", "-b+x"}, {"abcd", "bcda", "-a+a"},
        {"", "a", "+a"},     {"ab", "", "-a-b"},     {"aab", "ab", "-a"}};
    for (const auto& row : rows)
        EXPECT_EQ(Shown(Diff(Events(row[0]), Events(row[1]))), row[2]) << row[0] << " " << row[1];
}

TEST(LineDiff, DoesNotAlignWhatIsTooLarge) {
    const std::string left(3000, 'a');
    const std::string right(3000, 'b');
    EXPECT_EQ(Diff(Events(left), Events(right)).size(), 6000u);
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

TEST(ProcessNames, NamesAnIdByItsFirstName) {
    ProcessNames names;
    names.Add("b", 1);
    names.Add("a", 1);
    names.Add("a", 2);
    EXPECT_EQ(names.NameOf(1), "a");
    EXPECT_EQ(names.NameOf(2), "");
}

TEST(TimeText, ReadsNumbersWithTheirUnits) {
    const std::pair<const char*, double> rows[] = {{"10", 10},   {"10s", 10},  {"500ms", 0.5}, {"2m", 120},
                                                   {"1h", 3600}, {"0.5m", 30}, {"1e3", 1000},  {"1e300", 1e300}};
    for (const auto& [text, seconds] : rows) EXPECT_EQ(ReadSeconds(text), seconds) << text;
    for (const char* const text : {"", "s", "0", "0s", "-1", "nan", "10 s", "10sec", "10S", "1d", "1s2"}) {
        EXPECT_EQ(ReadSeconds(text), std::nullopt) << text;
    }
}

TEST(LossCounts, LeavesOutWhatWasBeforeTheRunAndNeverFallsBelowZero) {
    const LossCounts counts{7, 5, 1, 1, 0, 0, 0};
    EXPECT_EQ(counts.Without(2).recorded, 5u);
    EXPECT_EQ(counts.Without(2).delivered, 3u);
    EXPECT_EQ(counts.Without(2).overwritten, 1u);
    EXPECT_EQ(counts.Without(6).recorded, 1u);
    EXPECT_EQ(counts.Without(6).delivered, 0u);
    EXPECT_EQ(counts.Without(8).recorded, 0u);
}

// A platform whose processes are given.
class Processes {
public:
    std::vector<ProcessStatus> now;
    ProcessWatch watch{[this](const std::string&) { return now; }};

    // "12 started, 13 unreadable: why"
    std::string Look() {
        std::string text;
        for (const ProcessChange& change : watch.Look("a")) {
            const JsonObject json = ChangesJson({change});
            text += (text.empty() ? "" : ", ") + std::to_string(change.pid) + " " + json[0]["state"].get<std::string>();
            if (!change.reason.empty()) text += ": " + change.reason;
        }
        return text;
    }
};

TEST(ProcessWatch, KnowsWhatRunsAlready) {
    Processes processes;
    processes.now = {{4, true, "", ""}};
    processes.watch.Begin("a");
    EXPECT_EQ(processes.Look(), "");
    EXPECT_THAT(processes.watch.Running("a"), ElementsAre(4));
    EXPECT_THAT(processes.watch.Running("b"), IsEmpty());
}

TEST(ProcessWatch, TellsOfStartsAndEnds) {
    Processes processes;
    processes.watch.Begin("a");
    processes.now = {{4, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 started");
    processes.now = {{4, true, "", ""}, {5, true, "", ""}};
    EXPECT_EQ(processes.Look(), "5 started");
    processes.now = {{4, false, "", ""}, {5, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 ended");
    EXPECT_EQ(processes.Look(), "");
    processes.now = {{4, false, "", ""}};
    EXPECT_EQ(processes.Look(), "5 ended");
    processes.now = {{6, true, "", ""}, {7, true, "", ""}};
    EXPECT_EQ(processes.Look(), "6 restarted, 7 started");
    EXPECT_THAT(processes.watch.Running("a"), ElementsAre(6, 7));
}

TEST(ProcessWatch, TellsOfARestartBetweenTwoLooks) {
    Processes processes;
    processes.now = {{4, true, "", ""}};
    processes.watch.Begin("a");
    processes.now = {{4, false, "", ""}, {5, false, "", ""}, {6, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 ended, 5 restarted, 5 ended, 6 restarted");
    processes.now = {};
    EXPECT_EQ(processes.Look(), "6 ended");
    processes.now = {{6, true, "", ""}};
    EXPECT_EQ(processes.Look(), "6 restarted");
}

TEST(ProcessWatch, TellsOnceThatNothingCanBeRead) {
    Processes processes;
    processes.now = {{4, true, "runs as user b", "run this as b"}};
    processes.watch.Begin("a");
    EXPECT_FALSE(processes.watch.IsBlind());
    EXPECT_EQ(processes.Look(), "4 unreadable: runs as user b; run this as b");
    EXPECT_TRUE(processes.watch.IsBlind());
    EXPECT_EQ(processes.Look(), "");
    processes.now = {{4, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 started: it can be read now");
    EXPECT_FALSE(processes.watch.IsBlind());
}

TEST(ProcessWatch, GivesANewProcessTheTimeToRecord) {
    Processes processes;
    processes.watch.Begin("a");
    processes.now = {{4, true, "has no recorder", ""}};
    EXPECT_FALSE(processes.watch.LooksBlind());
    EXPECT_EQ(processes.Look(), "4 started");
    EXPECT_TRUE(processes.watch.LooksBlind());
    EXPECT_FALSE(processes.watch.IsBlind());
    EXPECT_EQ(processes.Look(), "4 unreadable: has no recorder");
    processes.now = {{4, false, "", ""}, {5, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 ended, 5 restarted");
    EXPECT_FALSE(processes.watch.IsBlind());
    EXPECT_FALSE(processes.watch.LooksBlind());
}

}  // namespace
