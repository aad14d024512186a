// What a run brought beside what is expected, and the expectation that it leaves.
#include "Comparison.h"

#include <gmock/gmock.h>

#include "Json.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

// Events with their values, a word each: "A1 B2". Their calls are a microsecond apart.
RunLines Came(const std::string& words) {
    RunLines run;
    for (std::size_t i = 0; i * 3 < words.size(); ++i) {
        const std::string name(1, words[i * 3]);
        const std::string value(1, words[i * 3 + 1]);
        run.Add(Shared(JsonObject({{"event", name}, {"value", value}, {"call", {{"tid", 3}, {"time", i * 1000}}}})));
    }
    return run;
}

std::vector<ExpectedLine> Expected(const std::vector<std::string>& lines) {
    std::vector<ExpectedLine> expected;
    for (const std::string& line : lines) expected.emplace_back("f", line);
    return expected;
}

std::string Word(const SharedJson& line) {
    if (line == nullptr) return "";
    return line->value("event", "") + line->value("value", "");
}

// "A1 -> A2: value: ..."; one side is empty where there is none.
std::vector<std::string> Shown(const std::vector<std::string>& lines, const std::string& words) {
    const std::vector<ExpectedLine> expected = Expected(lines);
    const RunLines run = Came(words);
    std::vector<std::string> texts;
    for (const Difference& difference : Comparison(expected, run).Differences()) {
        std::string text = Word(difference.missing) + " -> " + Word(difference.unexpected);
        for (const std::string& note : difference.notes) text += " | " + note;
        texts.push_back(text);
    }
    return texts;
}

const char* const kA1 = R"({"event":"A","value":"1"})";
const char* const kB1 = R"({"event":"B","value":"1"})";

TEST(Comparison, SetsBesideEachOtherWhatIsAboutOneEvent) {
    EXPECT_THAT(Shown({kA1, kB1}, "A1 B1"), IsEmpty());
    EXPECT_THAT(Shown({kA1, kB1}, "A2 B1"), ElementsAre("A1 -> A2 | value: \"1\" -> \"2\""));
    EXPECT_THAT(Shown({kA1, kB1}, "B2 A2"),
                ElementsAre("A1 -> A2 | value: \"1\" -> \"2\"", "B1 -> B2 | value: \"1\" -> \"2\""));
    EXPECT_THAT(Shown({kA1, kA1}, "A2 A3 A4"),
                ElementsAre("A1 -> A2 | value: \"1\" -> \"2\"", "A1 -> A3 | value: \"1\" -> \"3\"", " -> A4"));
    EXPECT_THAT(Shown({kA1}, "B1"), ElementsAre("A1 -> ", " -> B1"));
    // They stand on two sides of one that is as expected.
    EXPECT_THAT(Shown({kA1, kB1}, "B1 A2"), ElementsAre("A1 -> ", " -> A2"));
}

// That are too many to be set side by side.
TEST(Comparison, TellsOfLinesThatDifferInTheirPlaceAlone) {
    std::vector<std::string> lines;
    std::string words;
    for (int i = 0; i < 1200; ++i) {
        lines.insert(lines.end(), {kA1, kB1});
        words += "B1 A1 ";
    }
    const std::vector<std::string> shown = Shown(lines, words);
    ASSERT_EQ(shown.size(), 2400U);
    EXPECT_EQ(shown.front(), "A1 -> A1 | came in another place");
}

TEST(Comparison, NamesEachKeyThatDiffers) {
    EXPECT_THAT(Shown({R"({"event":"A","value":"1","call":{"tid":4,"name":"n"},"x":[1]})"}, "A2"),
                ElementsAre("A1 -> A2 | value: \"1\" -> \"2\" | call.tid: 4 -> 3 | call.name: \"n\" -> not there | x: "
                            "[1] -> not there"));
}

TEST(Comparison, CountsTheEventsOfALineWhereverTheyAre) {
    const std::string many = R"({"event":"B","count":{"min":2,"max":3}})";
    EXPECT_THAT(Shown({many, kA1, kA1}, "B1 A1 B2 A1 B3"), IsEmpty());
    EXPECT_THAT(Shown({kA1, many, kA1}, "A1 B2 A1 B3"), IsEmpty());
    EXPECT_THAT(Shown({many, kA1}, "A1 B1"), ElementsAre("B ->  | count: 1 event came, expected 2 to 3"));
    EXPECT_THAT(
        Shown({many, kA1}, "B1 B2 A2 B3 B4 B5"),
        ElementsAre("A1 -> A2 | value: \"1\" -> \"2\"", " -> B4 | count: 5 events came, expected 2 to 3", " -> B5"));
    EXPECT_THAT(Shown({R"({"event":"B","count":0})"}, "B1"), ElementsAre(" -> B1 | count: 1 event came, expected 0"));
}

TEST(Comparison, CountsAnEventForTheFirstLineThatItMatches) {
    EXPECT_THAT(Shown({R"({"event":"A","value":"1","count":1})", R"({"event":"A","count":2})"}, "A2 A1 A3"), IsEmpty());
    EXPECT_THAT(Shown({R"({"event":"A","count":3})", kA1}, "A2 A1 A3"), ElementsAre("A1 -> "));
}

TEST(Comparison, CountsNoMoreThanThereAre) {
    EXPECT_THAT(Shown({R"({"event":"A","count":{"max":4294967296}})"}, "A1 A2"), IsEmpty());
    EXPECT_THAT(Shown({R"({"event":"A","count":{"min":1,"max":18446744073709551615}})"}, "A1 A2"), IsEmpty());
}

TEST(Comparison, TellsWhatCameTooLate) {
    const std::string soon = R"({"event":"B","after":"A","within_ms":0.002})";
    EXPECT_THAT(Shown({kA1, R"({"event":"C"})", soon}, "A1 C1 B1"), IsEmpty());
    EXPECT_THAT(Shown({kA1, R"({"event":"C","count":2})", soon}, "A1 C1 C2 B1"),
                ElementsAre("B -> B1 | within_ms: 3.0 us after A, expected within 0.002 ms"));
    // What a count stands for is not before it.
    EXPECT_THAT(Shown({kA1, R"({"event":"C","count":2})", R"({"event":"B","within_ms":0.003})"}, "A1 C1 C2 B1"),
                IsEmpty());
    EXPECT_THAT(Shown({R"({"event":"B","after":"A","within_ms":0.001,"count":1})", kA1}, "A1 B1 B2"),
                ElementsAre(" -> B2"));
}

TEST(Comparison, KeepsWhatHoldsInTheExpectationThatItLeaves) {
    const std::vector<std::string> lines = {kA1, R"({"event":"C","count":{"min":5}})",
                                            R"({"event":"B","after":"A","within_ms":9,"value":"7"})",
                                            R"({"value":"3","event":"A","after":"A","within_ms":9})"};
    const std::vector<ExpectedLine> expected = Expected(lines);
    const RunLines run = Came("A1 B2 C1 A3 C2");
    EXPECT_EQ(Comparison(expected, run).Updated(),
              lines[0] + "\n" + lines[1] + "\n" + R"({"event":"B","value":"2","call":{}})" + "\n" + lines[3] + "\n");
}

TEST(Comparison, LeavesOutOfTheExpectationWhatDiffersFromRunToRun) {
    RunLines run;
    run.Add(Shared(JsonObject::parse(
        R"({"cycle":2,"event":"A","value":"1","call":{"key":1,"process":"m","pid":1,"tid":3,"locId":3,"callerName":"f",)"
        R"("packageName":"p","srcCodeFileRaw":"f.cpp","time":1,"exitTime":2,"in":[[{"name":"","hex":"01","int":1}]],)"
        R"("out":[],"ret":[],"process_id":7,"thread":"t?","threadHex":"74ff","wall":"w","duration":1}})")));
    run.Add(Shared(JsonObject::parse(R"({"cycle":2,"damaged":"2.qxdump","offset":360})")));
    const std::vector<ExpectedLine> none;
    EXPECT_EQ(Comparison(none, run).Updated(),
              R"({"cycle":2,"event":"A","value":"1","call":{"process":"m","callerName":"f","packageName":"p",)"
              R"("srcCodeFileRaw":"f.cpp","in":[[{"name":"","hex":"01","int":1}]],"out":[],"ret":[]}})"
              "\n"
              R"({"cycle":2,"damaged":"2.qxdump","offset":360})"
              "\n");
}

}  // namespace
