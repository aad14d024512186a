// How `qxlt check` says what it finds, and explains its checks.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "CheckRuns.h"
#include "CheckTable.h"
#include "Child.h"
#include "ReadFile.h"
#include "Workplace.h"

using qxlt::AllChecks;
using qxlt::Check;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string kSamples = QXLT_SOURCE_DIR "/tests/system/qxlt/samples";

}  // namespace

TEST(CheckTest, ShowsNoControlCharacters) {
    const Workplace place;
    place.Write("a.xml", Event("tag=\"IN\" value=\"0\" type=\"INT\" watch=\"CONDITIONAL\" condition=\"range\" "
                               "conditionValue=\"1\xC2\x9B,2\""));
    EXPECT_THAT(RunIn(place.Path(), {"check", "a.xml"}).output, testing::Not(HasSubstr("\xC2\x9B")));
}

TEST(CheckTest, SeveralScriptsCountAsOne) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    place.Write("b.xml", VolumeScript(kEveryVolume));
    EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "b.xml", "a.xml"}).output),
                ElementsAre(AllOf(StartsWith("a.xml:3:15: error: "), HasSubstr("(b.xml:3)"), EndsWith("[QX018]")),
                            AllOf(StartsWith("a.xml:4:14: warning: "), HasSubstr("b.xml:4"), EndsWith("[QX061]"))));
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
