// What `qxlt check` finds, where, and how it says so.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <ostream>

#include "CheckTable.h"
#include "Child.h"
#include "DumpWriter.h"
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

ToolResult RunIn(const std::string& directory, std::vector<std::string> arguments) {
    Child::Setup setup;
    setup.directory = directory;
    return RunTool(arguments, setup);
}

// The findings in a script, by place and code: "4:31 QX021".
std::vector<std::string> FindingsIn(const std::string& script) {
    const Workplace place;
    place.Write("a.xml", script);
    std::vector<std::string> findings;
    for (const std::string& line : Lines(RunIn(place.Path(), {"check", "a.xml"}).output)) {
        const std::size_t from = line.find(':') + 1;
        findings.push_back(line.substr(from, line.find(": ") - from) + " " + line.substr(line.rfind('[') + 1, 5));
    }
    return findings;
}

std::string Event(const std::string& attributes) {
    return VolumeScript("<event name=\"E\" " + attributes + "/>");
}

std::vector<std::string> Codes(const std::string& script) {
    std::vector<std::string> codes;
    for (const std::string& finding : FindingsIn(script)) codes.push_back(finding.substr(finding.find(' ') + 1));
    return codes;
}

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

// One finding, at the character that must not stand there, with the whole attribute as it must.
TEST(CheckTest, TellsARawCharacterInAnAttribute) {
    struct Row {
        const char* event;  // from column 1 of line 4 on
        const char* finding;
    };
    const Row rows[] = {
        {"<event name=\"E\" condition=\"<\" conditionValue=\"1\"/>", "4:28 QX007 condition=\"&lt;\""},
        {"<event name=\"E\" conditionValue=\"a&b\"/>", "4:34 QX007 conditionValue=\"a&amp;b\""},
        {"<event name=\"E\" conditionValue=\"a&amp;b&c&#38;&#x26;d<\"/>",
         "4:40 QX007 conditionValue=\"a&amp;b&amp;c&#38;&#x26;d&lt;\""},
        {"<event name=\"E\" conditionValue='\"a\" & b'/>", "4:37 QX007 conditionValue='\"a\" &amp; b'"},
        {"<event name=\"E\" conditionValue=\"a&b;c\"/>", "4:34 QX007 conditionValue=\"a&amp;b;c\""},
        {"<event name=\"E\" datakey=\"a&&b\"/>", "4:27 QX007 datakey=\"a&amp;&amp;b\""},
        {"<event name=\"E\" datakey=\"a&\"/>", "4:27 QX007 datakey=\"a&amp;\""},
        {"<event name=\"\xC3\xA4\" datakey=\"\xC3\xA4&\"/>", "4:27 QX007 datakey=\"\xC3\xA4&amp;\""},
        {"<!-- < & --> <event name=\"E\" datakey = \"a&\"/>", "4:42 QX007 datakey=\"a&amp;\""},
        {"<?a <&?><![CDATA[<&]]><event datakey=\"a&\"/>", "4:40 QX007 datakey=\"a&amp;\""},
        // A quote that is missing, and what stands in no value, are other mistakes.
        {"<event name=\"E/><event name=\"F\"/>", "4:17 QX001 "},
        {"<event name=\"E\" datakey=\"a/>\n<event name=\"F\"/>", "5:1 QX001 "},
        {"<event name=\"E\" & b=\"c\"/>", "4:17 QX001 "},
        {"<event name=\"E\" <b=\"c\"/>", "4:17 QX001 "},
        {"<event name=\"E\" a=\"&#0;\"/>", "4:20 QX001 "},
        {"<event name=\"E\"/>a & b", "4:21 QX001 "},
        {"&unknown;", "4:1 QX001 "},
        {"<event name=\"E\" datakey=\"a&", "4:28 QX001 "},
    };
    for (const Row& row : rows) {
        const Workplace place;
        place.Write("a.xml", VolumeScript(row.event));
        const ToolResult result = RunIn(place.Path(), {"check", "a.xml", "--format", "json"});
        EXPECT_EQ(result.status, 1);
        ASSERT_FALSE(Lines(result.output).empty()) << row.event;
        const nlohmann::json finding = nlohmann::json::parse(Lines(result.output).back());
        EXPECT_EQ(finding.at("line").dump() + ":" + finding.at("column").dump() + " " +
                      finding.at("id").get<std::string>() + " " + finding.at("instead").get<std::string>(),
                  row.finding)
            << row.event;
    }
}

// The other commands refuse such a script with the same words.
TEST(CheckTest, ARawCharacterIsToldWhereAScriptIsRun) {
    const Workplace place;
    place.Write("a.xml", Event("tag=\"IN\" value=\"0\" type=\"INT\" condition=\"<\""));
    const ToolResult result =
        RunIn(place.Path(), {"replay", "-s", "a.xml", "-p", "m", place.Write("dump", VolumeDump({1}))});
    EXPECT_THAT(result.error, HasSubstr("a.xml:4:58: not well-formed, an attribute holds a raw <; "
                                        "write condition=\"&lt;\", qxlt check a.xml finds more"));
}

// What a document type declares may stand in an attribute; which entities there are is not told apart.
TEST(CheckTest, LooksForNoRawCharacterBesideDeclaredEntities) {
    EXPECT_THAT(Codes("<!DOCTYPE Scenario [<!ENTITY e 'x'>]>\n<Scenario><a b=\"&e;<\"/></Scenario>"),
                ElementsAre("QX001"));
}

// Of what a text says before it breaks off only what stays true is told.
TEST(CheckTest, SaysNothingOfWhatMayComeAfterADefect) {
    EXPECT_THAT(Codes("<Scenario><action name=\"a\"><event name=\"E\" datakey=\"&\"/>"), ElementsAre("QX007"));
    EXPECT_THAT(Codes("<Scenario><action name=\"a\"/><action name=\"b\"><event a=\"&\"/>"),
                ElementsAre("QX010", "QX011", "QX007"));
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

TEST(CheckTest, KnowsPackagesFromARecording) {
    const Workplace place;
    place.Write("dump", RecordedDump());
    struct Row {
        const char* method;
        const char* finding;
    };
    const Row rows[] = {
        {"audio.SetVolume",
         "\"audio.SetVolume\" has the package in front, and calls are matched by the bare name; did "
         "you mean name=\"SetVolume\" [QX019]"},
        {"radio.SetVolume", "no method \"radio.SetVolume\" is recorded; did you mean SetVolume [QX080]"},
        {".Move", "did you mean name=\"Move\" [QX019]"},
        {"Set.Volume", "no method \"Set.Volume\" is recorded; did you mean SetVolume [QX080]"},
    };
    for (const Row& row : rows) {
        place.Write("a.xml", std::string("<Scenario><action name=\"a\" process=\"media-server\"><method name=\"") +
                                 row.method + "\"/><event name=\"E\" tag=\"NONE\"/></action></Scenario>");
        const std::vector<std::string> lines =
            Lines(RunIn(place.Path(), {"check", "a.xml", "--against", "dump"}).output);
        EXPECT_THAT(lines, ElementsAre(EndsWith(row.finding), HasSubstr("note: 0 calls"))) << row.method;
    }
    // A method that has a dot in its name is one.
    using namespace dump;
    place.Write("dotted", Persistent({Item(kHeader, Header(412, "media-server")),
                                      Item(kLocation, Location(3).Name("a.b", "p"))}));
    place.Write("a.xml",
                "<Scenario><action name=\"a\" process=\"media-server\"><method name=\"a.b\"/>"
                "<event name=\"E\" tag=\"NONE\"/></action></Scenario>");
    EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "a.xml", "--against", "dotted"}).output),
                ElementsAre(HasSubstr("note: 0 calls of a.b recorded")));
    EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "a.xml"}).output), ElementsAre(EndsWith("[QX019]")));
    place.Write("a.xml",
                "<Scenario><action name=\"a\" process=\"media-server\"><method id=\"p.a.b\"/>"
                "<event name=\"E\" tag=\"NONE\"/></action></Scenario>");
    EXPECT_THAT(RunIn(place.Path(), {"check", "a.xml", "--against", "dotted"}).output,
                HasSubstr("did you mean id=\"a.b\" [QX019]"));
}

TEST(CheckTest, KnowsTheProcessesOfARecording) {
    const Workplace place;
    place.Write("capture/capture.json",
                R"({"version":1,"processes":{"media-server":412,"a-long-name-of-a-process":7}})");
    place.Write("capture/000001/media-server.qxdump", RecordedDump());
    place.Write("nameless", VolumeDump({1}));
    const auto codes = [&place](const std::string& process, const std::string& input) {
        place.Write("a.xml", VolumeScript(kEveryVolume, process));
        std::vector<std::string> endings;
        for (const std::string& line : Lines(RunIn(place.Path(), {"check", "a.xml", "--against", input}).output)) {
            if (line.find("note: ") == std::string::npos) endings.push_back(line.substr(line.find(": ") + 2));
        }
        return endings;
    };
    EXPECT_THAT(codes("media-server", "capture"), IsEmpty());
    EXPECT_THAT(codes("a-long-name-of-", "capture"), IsEmpty());
    EXPECT_THAT(codes("Media_Server", "capture"),
                ElementsAre("warning: no process \"Media_Server\" is recorded; did you mean media-server [QX084]"));
    EXPECT_THAT(codes("nothing-like-it", "capture"),
                ElementsAre("warning: no process \"nothing-like-it\" is recorded [QX084]"));
    EXPECT_THAT(codes("anything", "nameless"), IsEmpty());
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

TEST(CheckTest, FindsPlacesInAnyLayout) {
    EXPECT_THAT(FindingsIn("<Scenario>\r\n<action name=\"a\" process=\"p\"><method name=\"M\"/>\r\n"
                           "<event\r\n\tname = 'E'\r\n\ttag=\n\"ARG\"\r\n\twatch\t=\"ALWAYS\"/></action></Scenario>"),
                ElementsAre("6:2 QX021"));
    EXPECT_THAT(FindingsIn("<Scenario><action process=\"p\" name=\"\xC3\xA4\xE2\x82\xAC\"><method name=\"M\"/>"
                           "<event name=\"\xF0\x9F\x94\x8A\" tag=\"ARG\"/></action></Scenario>"),
                ElementsAre("1:80 QX021"));
    EXPECT_THAT(
        FindingsIn(
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
            "<Scenario><action process=\"p\" name=\"\xE4\xF6\"><method name=\"M\"/><event name=\"\xFC\" tag=\"ARG\"/>"
            "</action></Scenario>"),
        ElementsAre("2:80 QX021"));
}

// What comes out of an entity or a document type stands nowhere itself.
TEST(CheckTest, FindsThePlaceThatAnEntityIsUsedIn) {
    EXPECT_THAT(FindingsIn("<!DOCTYPE Scenario [<!ENTITY e '<event name=\"E\" tag=\"ARG\"/>'>\n"
                           "<!ATTLIST event watch CDATA \"OFTEN\">]>\n"
                           "<Scenario><action name=\"a\" process=\"p\"><method name=\"M\"/>\n"
                           "&e;</action></Scenario>"),
                ElementsAre("4:1 QX021", "4:1 QX023"));
}

TEST(CheckTest, ReadsOtherEncodings) {
    std::string wide = "\xFF\xFE";
    for (const char byte : Event("tag=\"ARG\"")) wide += std::string(1, byte) + '\0';
    EXPECT_THAT(FindingsIn(wide), ElementsAre("4:1 QX021"));
}

TEST(CheckTest, TellsWhereATextIsNotWellFormed) {
    EXPECT_THAT(FindingsIn(""), ElementsAre("1:1 QX001"));
    // One attribute that a document type gives to each of so many elements that all of them together are refused.
    std::string elements;
    for (int i = 0; i < 2000; ++i) elements += "<x/>";
    const std::string typed = "<!DOCTYPE Scenario [<!ATTLIST x d CDATA '" + std::string(10000, 'v') + "'>]>\n";
    EXPECT_EQ(FindingsIn(typed + "<Scenario>" + elements + "</Scenario>").back().substr(0, 2), "2:");
    EXPECT_EQ(Codes(typed + "<Scenario>" + elements + "</Scenario>").back(), "QX001");
    EXPECT_THAT(FindingsIn("<Scenario>\n  <a & b/>\n</Scenario>"), ElementsAre("2:6 QX001"));
    EXPECT_THAT(FindingsIn("<Scenario>\n<action name=\"a\"><method name=\"M\"/><event name=\"E\" tag=\"X\"/>\n</Scen"),
                ElementsAre("2:57 QX021", "3:1 QX001"));
}

TEST(CheckTest, CommentsSilenceTheElementOnTheNextLine) {
    const auto script = [](const std::string& comment) {
        return VolumeScript(comment +
                            "\n<event name=\"E\"\n tag=\"ARG\"\n type=\"REAL\"/>\n<event name=\"F\" tag=\"ARG\"/>");
    };
    EXPECT_THAT(FindingsIn(script("")), ElementsAre("6:7 QX021", "7:8 QX022", "8:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- qxlt:ignore QX021 -->")), ElementsAre("7:8 QX022", "8:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!--qxlt:ignore qx021 QX022-->")), ElementsAre("8:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- qxlt:ignore\n\n QX021 -->")), ElementsAre("9:8 QX022", "10:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- qxlt:ignore QX021 -->\n")),
                ElementsAre("7:7 QX021", "8:8 QX022", "9:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- ignore QX021 -->")), ElementsAre("6:7 QX021", "7:8 QX022", "8:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- qxlt:ignore -->")),
                ElementsAre("4:1 QX070", "6:7 QX021", "7:8 QX022", "8:22 QX021"));
}

// An entity's comment ends further down than where it is used.
TEST(CheckTest, CommentsOutOfEntitiesMixWithOthers) {
    EXPECT_THAT(FindingsIn("<!DOCTYPE Scenario [<!ENTITY c '<!-- qxlt:ignore\n\n\nQX021 -->'>]>\n"
                           "<Scenario><action name=\"a\"><method name=\"M\"/>&c;\n"
                           "<!-- qxlt:ignore QX021 -->\n"
                           "<event name=\"E\" tag=\"ARG\"/>\n"
                           "<event name=\"F\" tag=\"ARG\"/></action></Scenario>"),
                testing::Not(testing::Contains("7:18 QX021")));
}

TEST(CheckTest, ShowsNoControlCharacters) {
    const Workplace place;
    place.Write("a.xml", Event("tag=\"IN\" value=\"0\" type=\"INT\" watch=\"CONDITIONAL\" condition=\"range\" "
                               "conditionValue=\"1\xC2\x9B,2\""));
    EXPECT_THAT(RunIn(place.Path(), {"check", "a.xml"}).output, testing::Not(HasSubstr("\xC2\x9B")));
}

TEST(CheckTest, SuggestsNamesForTheFirstUnknownMethods) {
    const Workplace place;
    std::string methods;
    for (int i = 0; i < 30; ++i) methods += "<method name=\"setvolume" + std::to_string(10 + i) + "\"/>";
    place.Write("a.xml",
                "<Scenario><action name=\"a\">" + methods + "<event name=\"E\" tag=\"NONE\"/></action></Scenario>");
    place.Write("dump", RecordedDump());
    std::size_t suggested = 0;
    for (const std::string& line : Lines(RunIn(place.Path(), {"check", "a.xml", "--against", "dump"}).output)) {
        suggested += line.find("did you mean SetVolume [QX080]") == std::string::npos ? 0u : 1u;
    }
    EXPECT_EQ(suggested, 20u);
}

TEST(CheckTest, SeveralScriptsCountAsOne) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    place.Write("b.xml", VolumeScript(kEveryVolume));
    EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "b.xml", "a.xml"}).output),
                ElementsAre(AllOf(StartsWith("a.xml:3:15: error: "), HasSubstr("(b.xml:3)"), EndsWith("[QX018]")),
                            AllOf(StartsWith("a.xml:4:14: warning: "), HasSubstr("b.xml:4"), EndsWith("[QX061]"))));
}

// What the first script's top element says goes for all: `run` hangs their actions below it.
TEST(CheckTest, TheFirstTopElementDecides) {
    const Workplace place;
    const std::string mistake =
        "<action name=\"a\" process=\"p\"><method name=\"M\"/><event name=\"E\" tag=\"ARG\"/></action>";
    place.Write("good.xml", VolumeScript(kEveryVolume));
    for (const char* const top : {"session", "Scenario", "other"}) {
        place.Write("b.xml", std::string("<") + top + ">\n" + mistake + "</" + top + ">");
        EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "good.xml", "b.xml"}).output),
                    ElementsAre(AllOf(StartsWith("b.xml:2:"), EndsWith("[QX021]"))))
            << top;
    }
    place.Write("b.xml", "<Scenario>" + mistake + "</Scenario>");
    place.Write("session.xml", "<session/>");
    EXPECT_EQ(RunIn(place.Path(), {"check", "session.xml", "b.xml"}).output, "");
    place.Write("other.xml", "<other/>");
    EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "other.xml", "b.xml"}).output),
                ElementsAre(EndsWith("[QX002]"), AllOf(StartsWith("b.xml:1:"), EndsWith("[QX021]"))));
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

TEST(CheckTest, PrintsJson) {
    const Workplace place;
    place.Write("a.xml", Event("tag=\"IN\" value=\"0\" type=\"INT\" wotch=\"ALWAYS\" watch=\"CHANGE\""));
    const ToolResult result = RunIn(place.Path(), {"check", "a.xml", "--format", "json"});
    EXPECT_THAT(Lines(result.output),
                ElementsAre(R"({"file":"a.xml","line":4,"column":47,"severity":"warning","id":"QX005",)"
                            R"("text":"unknown attribute \"wotch\", which is ignored","instead":"watch"})",
                            R"({"file":"a.xml","line":4,"column":69,"severity":"error","id":"QX023",)"
                            R"("text":"watch \"CHANGE\" is none of ALWAYS, CHANGED, CONDITIONAL, D-CONDITIONAL",)"
                            R"("instead":"CHANGED"})"));
    EXPECT_EQ(result.status, 1);
}

TEST(CheckTest, ComparesWithARecording) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    place.Write("dump", RecordedDump());
    EXPECT_EQ(RunIn(place.Path(), {"check", "a.xml", "--against", "dump"}).output,
              "a.xml:3:1: note: 2 calls of SetVolume recorded\n");
    EXPECT_EQ(RunIn(place.Path(), {"check", "a.xml", "--against", "dump", "--against", "dump"}).output,
              "a.xml:3:1: note: 4 calls of SetVolume recorded\n");
    EXPECT_EQ(RunIn(place.Path(), {"check", "a.xml", "--against", "dump", "--format", "json"}).output,
              "{\"file\":\"a.xml\",\"line\":3,\"column\":1,\"method\":\"SetVolume\",\"calls\":2}\n");
}

TEST(CheckTest, KnowsWhatIsRecordedOfEachArgument) {
    const Workplace place;
    place.Write("dump", RecordedDump());
    struct Row {
        const char* method;
        const char* attributes;
        const char* finding;  // empty: none
    };
    const Row rows[] = {
        {"GetLevel", "tag=\"OUT\" value=\"0\" type=\"INT\"", ""},
        {"GetLevel", "tag=\"RET\" value=\"0\" type=\"INT\"", ""},
        {"GetLevel", "tag=\"IN\" value=\"1\" type=\"INT\"", "did you mean tag=\"OUT\" value=\"0\" [QX083]"},
        {"GetLevel", "tag=\"OUT\" value=\"1\" type=\"INT\"", "did you mean tag=\"OUT\" value=\"0\" [QX083]"},
        {"GetLevel", "tag=\"OUT\" value=\"2\" type=\"INT\"",
         "GetLevel has 2 arguments: index 2 is never there [QX081]"},
        {"SetVolume", "tag=\"RET\" value=\"0\" type=\"INT\"",
         "no result of SetVolume is recorded, its type is \"void\" [QX083]"},
        {"SetSource", "tag=\"IN\" value=\"0\" type=\"STRING\"", ""},
        {"SetSource", "tag=\"IN\" value=\"0\" type=\"INT\"", "did you mean type=\"STRING\" [QX082]"},
        {"Move", "tag=\"IN\" value=\"0\" type=\"INT\"", ""},
        {"Move", "tag=\"OUT\" value=\"0\" type=\"STRING\"", "did you mean type=\"INT\" [QX082]"},
        {"Move", "tag=\"IN\" value=\"1\" type=\"INT\"", "index 1 is never there [QX083]"},
        {"VolumePeak", "tag=\"IN\" value=\"1\" type=\"STRING\"", ""},
        {"Idle", "tag=\"NONE\"", ""},
        {"setvolume", "tag=\"NONE\"", "no method \"setvolume\" is recorded; did you mean SetVolume [QX080]"},
    };
    for (const Row& row : rows) {
        place.Write("a.xml", std::string("<Scenario><action name=\"a\" process=\"media-server\"><method name=\"") +
                                 row.method + "\"/><event name=\"E\" " + row.attributes + "/></action></Scenario>");
        const std::vector<std::string> lines =
            Lines(RunIn(place.Path(), {"check", "a.xml", "--against", "dump"}).output);
        ASSERT_EQ(lines.size(), row.finding[0] == '\0' ? 1u : 2u) << row.method << " " << row.attributes;
        EXPECT_THAT(lines.front(), testing::AnyOf(EndsWith(" recorded"), EndsWith(row.finding))) << row.attributes;
        EXPECT_THAT(lines.back(), EndsWith(std::string(" of ") + row.method + " recorded"));
    }
}

TEST(CheckTest, ReportsADamagedRecordingAndUsesTheRest) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    place.Write("good", RecordedDump());
    place.Write("bad", RecordedDump().substr(0, 60));
    const ToolResult result = RunIn(place.Path(), {"check", "a.xml", "--against", "good", "--against", "bad"});
    EXPECT_EQ(result.output, "a.xml:3:1: note: 2 calls of SetVolume recorded\n");
    EXPECT_THAT(result.error, StartsWith("error: bad:"));
    EXPECT_EQ(result.status, 1);
}

TEST(CheckTest, SaysWhatIsNoDump) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    place.Write("nothing", "");
    for (const char* const file : {"a.xml", "nothing"}) {
        const ToolResult result = RunIn(place.Path(), {"check", "a.xml", "--against", file});
        EXPECT_EQ(result.status, 1) << file;
        EXPECT_EQ(result.output, "") << "nothing can be said about the methods";
        EXPECT_EQ(result.error, std::string("error: ") + file +
                                    ": no dump, not one record is in it; name a capture, or a dump out of one\n");
    }
}

TEST(CheckTest, SaysWhyItCannotStart) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    struct Row {
        std::vector<std::string> arguments;
        const char* error;
    };
    const Row rows[] = {
        {{"check"}, "error: no script is named"},
        {{"check", "none.xml"}, "error: none.xml: No such file"},
        {{"check", "."}, "error: .: Is a directory"},
        {{"check", "a.xml", "--against", "none"}, "error: none: No such file"},
        {{"check", "a.xml", "--against", "."}, "error: ./capture.json: No such file"},
        {{"check", "--explain", "QX9999"}, "error: --explain QX9999: no check has that code"},
        {{"check", "--explain", "QX21"}, "error: --explain QX21: no check has that code; did you mean QX021"},
        {{"check", "a.xml", "--strict"}, "error: "},
    };
    for (const Row& row : rows) {
        const ToolResult result = RunIn(place.Path(), row.arguments);
        EXPECT_EQ(result.status, 2) << row.error;
        EXPECT_EQ(result.output, "") << row.error;
        EXPECT_THAT(result.error, StartsWith(row.error));
        EXPECT_EQ(Lines(result.error).size(), 1u) << result.error;
    }
}

TEST(CheckTest, ExplainsEachCheck) {
    for (const Check& check : AllChecks()) {
        const ToolResult result = RunTool({"check", "--explain", check.code});
        EXPECT_EQ(result.output, qxlt::ExplainCheck(check));
        EXPECT_EQ(result.status, 0);
    }
    EXPECT_THAT(RunTool({"check", "--explain", "qx021"}).output, StartsWith("QX021: unknown tag (error)\n\n"));
}

TEST(CheckTest, ExplainsAsJson) {
    const auto parsed = [](const std::string& line) { return nlohmann::ordered_json::parse(line); };
    const std::vector<std::string> lines = Lines(RunTool({"check", "--explain", "all", "--format", "json"}).output);
    ASSERT_EQ(lines.size(), AllChecks().size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Check& check = AllChecks()[i];
        const auto line = parsed(lines[i]);
        EXPECT_EQ(line.at("id"), check.code);
        EXPECT_EQ(line.at("severity"), qxlt::SeverityName(check.severity));
        EXPECT_EQ(line.at("brief"), check.brief);
        EXPECT_EQ(line.at("details"), check.details);
    }
    const ToolResult one = RunTool({"check", "--explain", "qx021", "--format", "json"});
    EXPECT_THAT(one.output, StartsWith(R"({"id":"QX021","severity":"error","brief":"unknown tag","details":")"));
    EXPECT_EQ(Lines(one.output).size(), 1u);
    EXPECT_EQ(one.status, 0);
}

TEST(CheckTest, ThePageOfTheChecksIsWhatTheToolPrints) {
    EXPECT_EQ(RunTool({"check", "--explain", "all"}).output, qxlt::ReadFile(QXLT_SOURCE_DIR "/docs/checks.md"));
}

TEST(CheckTest, CodesAreStableAndInOrder) {
    for (std::size_t i = 0; i < AllChecks().size(); ++i) {
        const Check& check = AllChecks()[i];
        EXPECT_TRUE(testing::Value(std::string(check.code), testing::MatchesRegex("QX[0-9][0-9][0-9]"))) << check.code;
        EXPECT_EQ(static_cast<std::size_t>(check.id), i) << check.code;
        EXPECT_LT(i == 0 ? std::string() : std::string(AllChecks()[i - 1].code), check.code);
    }
}

TEST(CheckTest, ColoursOnATerminalOnly) {
    Child::Setup setup;
    setup.directory = kSamples;
    setup.terminal = true;
    setup.environment = {{"TERM", "xterm"}, {"NO_COLOR", ""}};
    EXPECT_THAT(RunTool({"check", "QX021.xml"}, setup).output, HasSubstr("\033[31merror:\033[0m"));
    setup.environment["NO_COLOR"] = "1";
    EXPECT_THAT(RunTool({"check", "QX021.xml"}, setup).output, HasSubstr(": error: tag"));
}

TEST(CheckTest, DepthIsNoMatter) {
    std::string script = "<Scenario>";
    for (int i = 0; i < 100000; ++i) script += "<a>";
    EXPECT_EQ(Codes(script).back(), "QX001");
}

// Minutes, if each were looked for among all others.
TEST(CheckTest, ManyMethodsOfOneActionAreNoMatter) {
    std::string methods;
    for (int i = 0; i < 100000; ++i) methods += "<method name=\"M" + std::to_string(i) + "\"/>";
    EXPECT_THAT(Codes("<Scenario><action name=\"a\" process=\"p\">" + methods + "<method name=\"M7\"/>" +
                      "<event name=\"E\" tag=\"NONE\"/></action></Scenario>"),
                ElementsAre("QX018"));
}

// Errors in the scenario stay errors, whoever has read of them.
TEST(CheckTest, EndsQuietlyWhenNobodyReads) {
    const Workplace place;
    for (const auto& [attributes, status] : {std::pair("tag=\"ARG\"", 1), std::pair("tag=\"NONE\" filter=\"x\"", 0)}) {
        std::string events;
        for (int i = 0; i < 20000; ++i) {
            events += "<event name=\"E" + std::to_string(i) + "\" " + attributes + "/>\n";
        }
        Child tool(ToolSetup({"check", place.Write("a.xml", VolumeScript(events))}));
        ASSERT_TRUE(tool.WaitForOutput("[QX0"));
        tool.CloseOutput();
        EXPECT_EQ(tool.Finish(), status);
        EXPECT_EQ(tool.Error(), "");
    }
}

TEST(CheckTest, KeepsItsStatusAfterADamagedRecording) {
    const Workplace place;
    std::string events;
    for (int i = 0; i < 20000; ++i)
        events += "<event name=\"E" + std::to_string(i) + "\" tag=\"NONE\" filter=\"x\"/>\n";
    const std::string dump = place.Write("dump", RecordedDump() + "\x01");
    Child tool(ToolSetup({"check", place.Write("a.xml", VolumeScript(events)), "--against", dump}));
    ASSERT_TRUE(tool.WaitForOutput("[QX0"));
    tool.CloseOutput();
    EXPECT_EQ(tool.Finish(), 1);
    EXPECT_THAT(tool.Error(), StartsWith("error: " + dump + ":"));
}
