// What a line of an expectation matches, and which rules are none.
#include "ExpectedLine.h"

#include <gmock/gmock.h>

#include "Failure.h"
#include "Json.h"

namespace {

using namespace qxlt;
using testing::HasSubstr;

TEST(ExpectedLine, LetsExpectedObjectsLeaveKeysOut) {
    const JsonObject actual = JsonObject::parse(R"({"a":1,"call":{"key":7,"pid":3,"in":[[{"name":""}]]}})");
    const std::vector<std::pair<std::string, bool>> rows = {{R"({})", true},
                                                            {R"({"call":{"pid":3}})", true},
                                                            {R"({"call":{"pid":4}})", false},
                                                            {R"({"call":{"key":8}})", true},
                                                            {R"({"call":{"in":[[{"name":""}]]}})", true},
                                                            {R"({"call":{"in":[]}})", false},
                                                            {R"({"b":1})", false},
                                                            {R"({"a":{"b":1}})", false}};
    for (const auto& [expected, same] : rows)
        EXPECT_EQ(IsExpected(JsonObject::parse(expected), actual), same) << expected;
}

// Lines that were kept before values stood beside their bytes are still what is expected.
TEST(ExpectedLine, LeavesOutWhatAnExpectedLineDoesNotHave) {
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

// Events at these times in microseconds: "A1 B5".
RunLines Came(const std::vector<std::pair<std::string, unsigned>>& events) {
    RunLines run;
    for (const auto& [name, time] : events) {
        run.Add(Shared(JsonObject({{"event", name}, {"call", {{"time", time * 1000ULL}}}})));
    }
    return run;
}

bool Matches(const std::string& expected, const RunLines& run, std::size_t line) {
    const std::optional<std::size_t> before = line == 0 ? std::nullopt : std::optional<std::size_t>(line - 1);
    return ExpectedLine("f:1", expected).Matches(run, {line, before});
}

TEST(ExpectedLine, ComesSoonEnoughAfterTheLatestEventOfThatName) {
    const RunLines run = Came({{"A", 1}, {"C", 2}, {"A", 3}, {"B", 8}, {"A", 9}});
    EXPECT_TRUE(Matches(R"({"event":"B","after":"A","within_ms":0.005})", run, 3));
    EXPECT_FALSE(Matches(R"({"event":"B","after":"A","within_ms":0.004999})", run, 3));
    EXPECT_FALSE(Matches(R"({"event":"B","after":"C","within_ms":0.005})", run, 3));
    EXPECT_FALSE(Matches(R"({"event":"B","after":"D","within_ms":1000})", run, 3));
    EXPECT_FALSE(Matches(R"({"event":"C","after":"A","within_ms":1000})", run, 3));
}

// What comes of another cycle or process may stand behind and be earlier.
TEST(ExpectedLine, ComesAfterWhatWasEarlierWhereverThatStands) {
    const RunLines run = Came({{"B", 8}, {"A", 3}, {"A", 9}});
    EXPECT_TRUE(Matches(R"({"event":"B","after":"A","within_ms":0.005})", run, 0));
    EXPECT_FALSE(Matches(R"({"event":"B","after":"A","within_ms":0.004})", run, 0));
}

TEST(ExpectedLine, MayComeAfterAnotherOfItsOwnName) {
    const RunLines run = Came({{"A", 1}, {"A", 5}, {"A", 5}});
    EXPECT_FALSE(Matches(R"({"event":"A","after":"A","within_ms":1})", run, 0));
    EXPECT_TRUE(Matches(R"({"event":"A","after":"A","within_ms":0})", run, 1));
    EXPECT_TRUE(Matches(R"({"event":"A","after":"A","within_ms":0})", run, 2));
}

TEST(ExpectedLine, ComesSoonEnoughAfterTheEventBefore) {
    const RunLines run = Came({{"A", 1}, {"B", 8}, {"C", 4}});
    EXPECT_TRUE(Matches(R"({"event":"B","within_ms":0.007})", run, 1));
    EXPECT_FALSE(Matches(R"({"event":"B","within_ms":0.006})", run, 1));
    EXPECT_FALSE(Matches(R"({"event":"A","within_ms":1000})", run, 0));
    EXPECT_TRUE(Matches(R"({"event":"C","within_ms":0})", run, 2));
}

TEST(ExpectedLine, TellsHowLateItCame) {
    const RunLines run = Came({{"A", 1}, {"B", 8}});
    const auto lateness = [&run](const std::string& rules, std::size_t line) {
        return ExpectedLine("f:1", "{" + rules + "}").LatenessOf(run, {line, std::nullopt});
    };
    EXPECT_EQ(lateness(R"("a":1)", 1), "");
    EXPECT_EQ(lateness(R"("after":"A","within_ms":1)", 1), "");
    EXPECT_EQ(lateness(R"("after":"A","within_ms":0.002)", 1), "within_ms: 7.0 us after A, expected within 0.002 ms");
    EXPECT_EQ(lateness(R"("after":"C","within_ms":5)", 1), "within_ms: no C came before it");
    EXPECT_EQ(lateness(R"("within_ms":5)", 0), "within_ms: no event came before it");
    EXPECT_EQ(ExpectedLine("f:1", R"({"within_ms":0.006})").LatenessOf(run, {1, 0}),
              "within_ms: 7.0 us after the event before it, expected within 0.006 ms");
}

TEST(ExpectedLine, ReadsHowManyAreToCome) {
    const std::pair<const char*, const char*> rows[] = {{"3", "3"},
                                                        {"0", "0"},
                                                        {R"({"min":3})", "at least 3"},
                                                        {R"({"max":3})", "at most 3"},
                                                        {R"({"min":3,"max":3})", "3"},
                                                        {R"({"max":5,"min":3})", "3 to 5"}};
    for (const auto& [count, text] : rows) {
        const ExpectedLine line("f:1", R"({"event":"A","count":)" + std::string(count) + "}");
        ASSERT_TRUE(line.Count()) << count;
        EXPECT_EQ(line.Count()->Text(), text);
        EXPECT_EQ(line.Keys().dump(), R"({"event":"A"})");
    }
    EXPECT_FALSE(ExpectedLine("f:1", R"({"event":"A"})").Count());
}

TEST(ExpectedLine, RefusesRulesThatAreNone) {
    const std::pair<const char*, const char*> rows[] = {
        {R"("count":-1)", "count is -1; write a number of events"},
        {R"("count":1.5)", "count is 1.5; write"},
        {R"("count":"3")", "count is \"3\"; write"},
        {R"("count":[])", "count is []; write"},
        {R"("count":{})", "count is empty; write"},
        {R"("count":{"min":"3"})", "count is \"3\"; write"},
        {R"("count":{"least":3})", "count has \"least\"; it takes"},
        {R"("count":{"min":3,"max":2})", "count has a min that is more than its max"},
        {R"("within_ms":"5")", "within_ms is \"5\"; write a number"},
        {R"("within_ms":-0.1)", "within_ms is -0.1; write a number"},
        {R"("after":"A")", "\"after\" stands alone; write"},
        {R"("within_ms":1,"after":1)", "after is 1; write the name"},
        {R"("within_ms":1,"after":"")", "after is \"\"; write the name"},
        {R"("within_ms":1,"count":1)", "name one with \"after\""}};
    for (const auto& [rules, said] : rows) {
        try {
            const ExpectedLine line("f:7", std::string("{") + rules + "}");
            ADD_FAILURE() << rules;
        } catch (const Failure& failure) {
            EXPECT_THAT(failure.what(), testing::StartsWith("f:7: ")) << rules;
            EXPECT_THAT(failure.what(), HasSubstr(said));
        }
    }
}

}  // namespace
