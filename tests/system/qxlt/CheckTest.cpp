// What `qxlt check` finds in scenarios.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <ostream>
#include <tuple>

#include "CheckRuns.h"
#include "CheckTable.h"
#include "Child.h"
#include "ReadFile.h"
#include "RecordedSample.h"
#include "Workplace.h"

using qxlt::AllChecks;
using qxlt::Check;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace qxlt {

// As the name of a test and a failure show it.
void PrintTo(const Check& check, std::ostream* stream) {
    *stream << check.code;
}

}  // namespace qxlt

namespace {

const std::string kSamples = QXLT_SOURCE_DIR "/tests/system/qxlt/samples";

}  // namespace

// One sample for each check: QX021.xml makes exactly the output QX021.txt, in which exactly that check fires.
class SampleOf : public testing::TestWithParam<Check> {};

TEST_P(SampleOf, FiresItsCheckAndNoOther) {
    const std::string code = GetParam().code;
    const Workplace place;
    std::vector<std::string> arguments = {"check", code + ".xml"};
    if (code >= "QX080") arguments.insert(arguments.end(), {"--against", place.Write("dump", RecordedDump())});
    const ToolResult result = RunIn(kSamples, arguments);
    EXPECT_EQ(result.output, qxlt::ReadFile(kSamples + "/" + code + ".txt"));
    EXPECT_EQ(result.error, "");
    const bool isError = GetParam().severity == qxlt::Severity::Error;
    EXPECT_EQ(result.status, isError ? 1 : 0);
    std::vector<std::string> findings;
    for (const std::string& line : Lines(result.output)) {
        if (line.find(": note: ") == std::string::npos) findings.push_back(line);
    }
    EXPECT_THAT(findings, ElementsAre(testing::AllOf(HasSubstr(isError ? ": error: " : ": warning: "),
                                                     EndsWith(" [" + code + "]"))));
}

// The same as JSON, a key for each part of the line.
TEST_P(SampleOf, IsTheSameAsJson) {
    const std::string code = GetParam().code;
    const Workplace place;
    std::vector<std::string> arguments = {"check", code + ".xml", "--format", "json"};
    if (code >= "QX080") arguments.insert(arguments.end(), {"--against", place.Write("dump", RecordedDump())});
    const ToolResult result = RunIn(kSamples, arguments);
    std::string text;
    for (const std::string& line : Lines(result.output)) {
        const nlohmann::json finding = nlohmann::json::parse(line);
        const auto word = [&finding](const char* key) { return finding.at(key).get<std::string>(); };
        text += word("file") + ":" + finding.at("line").dump() + ":" + finding.at("column").dump() + ": ";
        if (finding.contains("calls")) {
            const std::string calls = finding.at("calls").dump();
            text += "note: " + calls + (calls == "1" ? " call of " : " calls of ") + word("method") + " recorded\n";
            continue;
        }
        text += word("severity") + ": " + word("text");
        if (!word("instead").empty()) text += "; did you mean " + word("instead");
        text += " [" + word("id") + "]\n";
    }
    EXPECT_EQ(text, qxlt::ReadFile(kSamples + "/" + code + ".txt"));
}

INSTANTIATE_TEST_SUITE_P(Checks, SampleOf, testing::ValuesIn(AllChecks()),
                         [](const testing::TestParamInfo<Check>& sample) { return std::string(sample.param.code); });

TEST(CheckTest, TellsWhatEventsOfOneNameShare) {
    const Workplace place;
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"CHANGED", "CHANGED", "they share their last value"},
        {"D-CONDITIONAL", "D-CONDITIONAL", "they share their last result"},
        {"CONDITIONAL", "CONDITIONAL", "a client cannot tell them apart"},
        {"CHANGED", "CONDITIONAL", "a client cannot tell them apart"},
        {"CONDITIONAL", "CHANGED", "a client cannot tell them apart"},
        {"D-CONDITIONAL", "CONDITIONAL", "a client cannot tell them apart"}};
    for (const auto& [first, second, shared] : rows) {
        std::string events;
        for (const char* const watch : {first, second}) {
            events += std::string(R"(<event name="E" tag="IN" value="0" type="INT" watch=")") + watch +
                      R"(" condition="==" conditionValue="5"/>)";
        }
        EXPECT_THAT(RunTool({"check", place.Write("a.xml", VolumeScript(events))}).output,
                    HasSubstr(std::string(": ") + shared + " [QX061]\n"))
            << first << " " << second;
    }
}

TEST(CheckTest, FindsNothingInTheExamples) {
    std::vector<std::string> arguments = {"check"};
    for (const auto& entry : std::filesystem::directory_iterator(QXLT_SOURCE_DIR "/examples/scenarios")) {
        arguments.push_back(entry.path().string());
    }
    ASSERT_GT(arguments.size(), 1u);
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.status, 0);
}

// What further forms of a mistake are found, beside the samples.
TEST(CheckTest, FindsEachFormOfAMistake) {
    const std::string in = "tag=\"IN\" value=\"0\" ";
    const std::vector<std::pair<std::string, std::vector<std::string>>> rows = {
        {"tag=\"NONE\"", {}},
        {"tag=\"\" type=\"\"", {}},
        {in + "watch=\"D-CONDITIONAL\" type=\"INT\"", {"QX040"}},
        {in + "type=\"INT\" watch=\"D-CONDITIONAL\" condition=\"==\" conditionValue=\"1\"", {}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"==\"", {"QX044"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"1&amp;&amp;2\" "
              "conditionType=\"OR\"",
         {"QX044"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"99999999999\"", {"QX044"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"1&amp;01\" conditionType=\"AND\"",
         {}},
        {in + "type=\"STRING\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"1&amp;01\" "
              "conditionType=\"AND\"",
         {"QX047"}},
        {in + "type=\"STRING\" watch=\"CONDITIONAL\" condition=\"==\"", {}},
        {in + "type=\"STRING\" watch=\"CONDITIONAL\" condition=\"!=\" conditionValue=\"a&amp;b\" "
              "conditionType=\"AND\"",
         {}},
        // Without an operand nothing is compared, so that neither type nor tag is missing.
        {"watch=\"CONDITIONAL\" condition=\"==\" conditionType=\"AND\"", {"QX051"}},
        {"tag=\"NONE\" type=\"INT\" watch=\"CONDITIONAL\" condition=\"!=\" conditionType=\"OR\"", {"QX052"}},
        // Values of no known type are not compared either.
        {in + "watch=\"CONDITIONAL\" condition=\"!=\" conditionValue=\"a&amp;b\" conditionType=\"OR\"", {"QX043"}},
        {in + "type=\"REAL\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"a&amp;b\" conditionType=\"AND\"",
         {"QX022"}},
        {in + "watch=\"CONDITIONAL\" condition=\">\" conditionValue=\"1\"", {"QX041"}},
        {in + "type=\"REAL\" watch=\"CONDITIONAL\" condition=\">\" conditionValue=\"1\"", {"QX022"}},
        {"type=\"INT\" watch=\"CONDITIONAL\" condition=\">\" conditionValue=\"1\"", {"QX042"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\">\" conditionType=\"OR\"", {"QX044", "QX050"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\">\" conditionValue=\"1&amp;2\"", {"QX049"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"range\" conditionValue=\"1,2\"", {}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"range\" conditionValue=\"1,2,3\"", {"QX045"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"range\" conditionValue=\"a,b\"", {"QX044", "QX044"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"range\" conditionValue=\"1%,2\"", {"QX029"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"range\" conditionValue=\"1,2\" conditionType=\"OR\"",
         {"QX050"}},
        {in + "type=\"INT\" watch=\"ALWAYS\" condition=\"nonsense\"", {"QX053"}},
        {in + "type=\"INT\" watch=\"CHANGED\" conditionType=\"OR\"", {"QX053"}},
        {in + "type=\"INT\" watch=\"Changed\" condition=\"nonsense\"", {"QX023"}},
        {"tag=\"IN\" type=\"INT\"", {"QX026"}},
        {"tag=\"OUT\" value=\"-1\" type=\"INT\"", {"QX026"}},
        {"tag=\"OUT\" value=\"99999999999\" type=\"INT\"", {"QX026"}},
        {"tag=\"OUT\" value=\"0x1\" type=\"INT\"", {"QX029"}},
        {"tag=\"OUT\" value=\" 1 \" type=\"INT\"", {}},
        {in + "type=\"INT\" keyword=\"-1\"", {}},
        {in + "type=\"INT\" keyword=\"99999999999\"", {"QX035"}},
        {in + "type=\"INT\" keyword=\"-0\"", {"QX035"}},
        {"tag=\"NONE\" filter=\"x\" datakey=\"x&amp;\"", {"QX036"}},
        {"tag=\"NONE\" keyword=\"NONE\"", {}},
        {"keyword=\"on\"", {"QX036"}},
        {in + "type=\"STRING\" filter=\"id\" datakey=\"id=&amp;\"", {}},
        // No type: one finding for each event, that of the check which knows most.
        {in, {"QX037"}},
        {"tag=\"RET\" value=\"0\" watch=\"ALWAYS\"", {"QX037"}},
        {in + "keyword=\"on\"", {"QX036"}},
        {in + "keyword=\"NONE\"", {"QX037"}},
        {in + "filter=\"id\" datakey=\"id&amp;\"", {"QX036"}},
        {in + "watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"1\"", {"QX043"}},
        {in + "watch=\"CHANGED\" condition=\"==\" conditionValue=\"1\"", {"QX037", "QX053"}},
        {"tag=\"NONE\" watch=\"CHANGED\"", {}},
        // The right part of a datakey inside the left one.
        {in + "type=\"STRING\" filter=\"id\" datakey=\"id=&amp;=\"", {"QX038"}},
        {in + "type=\"STRING\" filter=\"id\" datakey=\"id&amp;id\"", {"QX038"}},
        {in + "type=\"STRING\" filter=\"id\" datakey=\"id=&amp;;\"", {}},
        {in + "type=\"STRING\" filter=\"id\" datakey=\"ab&amp;bc\"", {}},
        {in + "type=\"STRING\" datakey=\"id=&amp;=\"", {"QX031"}},
        // Lists with commas.
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"!=\" conditionValue=\"1, 2,3\"", {"QX054"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"1,2&amp;3\" "
              "conditionType=\"OR\"",
         {"QX054"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"1,2&amp;3\"", {"QX049"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"1,b\"", {"QX029"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"a,1\"", {"QX044"}},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"&gt;\" conditionValue=\"1,2\"", {"QX029"}},
        {in + "type=\"STRING\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"on,off\"", {"QX054"}},
        {in + "type=\"STRING\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"Stop, now\"", {}},
        {in + "type=\"STRING\" watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"on, off\" "
              "conditionType=\"OR\"",
         {"QX054"}},
        {in + "type=\"STRING\" watch=\"CHANGED\" conditionValue=\"on,off\"", {"QX053"}},
    };
    for (const auto& [attributes, codes] : rows) EXPECT_EQ(Codes(Event(attributes)), codes) << attributes;
}

// What is to be written instead, where there is a choice.
TEST(CheckTest, SaysWhatToWrite) {
    const std::string in = "tag=\"IN\" value=\"0\" ";
    const std::string equal = in + "type=\"STRING\" watch=\"CONDITIONAL\" condition=\"==\" ";
    const std::pair<std::string, const char*> rows[] = {
        {in + "type=\"INT\" watch=\"DCONDITIONAL\"", "did you mean D-CONDITIONAL [QX023]"},
        {in + "type=\"INT\" watch=\"d_conditional\"", "did you mean D-CONDITIONAL [QX023]"},
        {in + "type=\"INT\" watch=\"CONDITONAL\"", "did you mean CONDITIONAL [QX023]"},
        {in + "type=\"INT\" watch=\"changed\"", "did you mean CHANGED [QX023]"},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"=\" conditionValue=\"1\"", "did you mean == [QX024]"},
        {equal + "conditionValue=\"on,off\"",
         "did you mean conditionValue=\"on&amp;off\" conditionType=\"OR\" [QX054]"},
        {equal + "conditionValue=\"on, off\" conditionType=\"OR\"",
         "did you mean conditionValue=\"on&amp;off\" [QX054]"},
        {in + "type=\"INT\" watch=\"CONDITIONAL\" condition=\"!=\" conditionValue=\"1,2\"",
         "did you mean conditionValue=\"1&amp;2\" conditionType=\"AND\" [QX054]"},
        {in + "type=\"STRING\" filter=\"a\" datakey=\"a;b;c&amp;;\"", "did you mean datakey=\"c&amp;;\" [QX038]"},
        {in + "type=\"STRING\" filter=\"a\" datakey=\"a;&amp;;\"", "end of the value [QX038]"},
    };
    for (const auto& [attributes, ending] : rows) {
        const Workplace place;
        place.Write("a.xml", Event(attributes));
        EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "a.xml"}).output), ElementsAre(EndsWith(ending))) << attributes;
    }
}

TEST(CheckTest, OneActionWithAProcessIsEnough) {
    const auto script = [](const char* first, const char* second) {
        const std::string content = "><method name=\"M\"/><event name=\"E\" tag=\"NONE\"/></action>";
        const std::string other = "><method name=\"N\"/><event name=\"F\" tag=\"NONE\"/></action>";
        return std::string("<Scenario>\n<action name=\"a\"") + first + content + "\n<action name=\"b\"" + second +
               other + "</Scenario>";
    };
    EXPECT_THAT(FindingsIn(script("", "")), ElementsAre("1:1 QX008"));
    EXPECT_THAT(FindingsIn(script("", " process=\"p\"")), IsEmpty());
    EXPECT_THAT(FindingsIn("<Scenario/>"), IsEmpty());
    const Workplace place;
    place.Write("a.xml", script("", ""));
    place.Write("b.xml", VolumeScript(kEveryVolume));
    EXPECT_EQ(RunIn(place.Path(), {"check", "a.xml", "b.xml"}).output, "");
}

// Names of processes are the same when their first 15 bytes are.
TEST(CheckTest, TellsMethodsThatAreWatchedForSeveralProcesses) {
    const auto codes = [](const std::string& first, const std::string& second, const std::string& name) {
        const auto watch = [](const std::string& process, const std::string& action, const std::string& event) {
            return "<action name=\"" + action + "\" process=\"" + process + "\"><method name=\"M\"/><event name=\"" +
                   event + "\" tag=\"NONE\"/></action>";
        };
        return Codes("<Scenario>" + watch(first, "a", "E") + watch(second, name, "F") + "</Scenario>");
    };
    EXPECT_THAT(codes("p", "q", "b"), ElementsAre("QX062"));
    EXPECT_THAT(codes("p", "p", "b"), IsEmpty());
    EXPECT_THAT(codes("p", "q", "a"), ElementsAre("QX018"));
    EXPECT_THAT(codes("long-name-of-15-a", "long-name-of-15-b", "b"), ElementsAre("QX013", "QX013"));
}

TEST(CheckTest, LooksAtEveryElement) {
    EXPECT_THAT(FindingsIn("<Scenario a=\"1\" xmlns:x=\"urn:x\" x:b=\"2\" xmlns=\"urn:y\">\n"
                           "<action name=\"a\" b=\"2\" process=\"p\">\n"
                           "<method name=\"M\" package=\"p\" process=\"q\"><arg/></method>\n"
                           "<event name=\"E\" process=\"p\"><method name=\"N\"/></event>\n"
                           "<group><event name=\"F\"/></group>\n"
                           "</action>\n<event name=\"G\"/></Scenario>\n"),
                ElementsAre("1:11 QX005", "2:18 QX005", "3:18 QX005", "3:30 QX006", "3:42 QX003", "4:17 QX006",
                            "4:29 QX004", "5:1 QX003", "5:8 QX004", "7:1 QX004"));
}

TEST(CheckTest, TakesAFirstAttributeOfAnyNameForTheMethod) {
    EXPECT_THAT(
        FindingsIn(
            "<Scenario><action name=\"a\" process=\"p\"><method id=\"M\"/><event name=\"E\"/></action></Scenario>"),
        IsEmpty());
}

TEST(CheckTest, LeavesOtherKindsOfScriptsAlone) {
    EXPECT_THAT(FindingsIn("<session><anything goes=\"here\"/><event/></session>"), IsEmpty());
    EXPECT_THAT(FindingsIn("<html><body><event/></body></html>"), ElementsAre("1:1 QX002"));
}

// Below the top element a method is an action like any other, whose name the next one takes.
TEST(CheckTest, KnowsThatAMethodBelowTheTopIsAnAction) {
    EXPECT_THAT(
        FindingsIn("<Scenario>\n<action name=\"a\" process=\"p\"><method name=\"M\"/><event name=\"E\"/></action>\n"
                   "<method name=\"b\"/>\n"
                   "<action><method name=\"M\"/><event name=\"F\"/></action>\n</Scenario>"),
        ElementsAre("3:1 QX004", "4:1 QX012"));
    const Workplace place;
    place.Write(
        "a.xml",
        "<Scenario>\n<method name=\"b\" process=\"p\"><method name=\"M\"/><event name=\"E\" tag=\"X\"/></method>\n"
        "<action><method name=\"M\"/><event name=\"F\"/></action>\n</Scenario>");
    EXPECT_THAT(
        Lines(RunIn(place.Path(), {"check", "a.xml"}).output),
        ElementsAre(AllOf(StartsWith("a.xml:2:1: "), EndsWith("[QX004]")),
                    AllOf(StartsWith("a.xml:2:"), EndsWith("[QX021]")),
                    AllOf(StartsWith("a.xml:3:1: "), HasSubstr("action without name takes \"b\""), EndsWith("[QX012]")),
                    AllOf(StartsWith("a.xml:3:"), HasSubstr("(a.xml:2)"), EndsWith("[QX018]"))));
}
