// `qxlt test`, run as its user runs it.
#include <gmock/gmock.h>

#include <filesystem>
#include <set>

#include "Child.h"
#include "DumpWriter.h"
#include "QxXMLDefaults.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const char* const kHighEvent =
    R"(<event name="HIGH" tag="IN" value="0" type="INT" watch="CONDITIONAL" condition="&gt;" conditionValue="80"/>)";

// A folder whose scenario fires for 81 and 90.
void MakeFolder(const Workplace& place, const std::string& name, const std::string& expected) {
    place.Write(name + "/v.xml", VolumeScript(kHighEvent));
    place.Write(name + "/1.qxdump", VolumeDump({79, 81, 90}));
    if (!expected.empty()) place.Write(name + "/expected.jsonl", expected);
}

const char* const kBoth = "{\"event\":\"HIGH\",\"value\":\"81\"}\n{\"event\":\"HIGH\",\"value\":\"90\"}\n";

TEST(TestCommand, PassesWhenTheEventsAreAsExpected) {
    const Workplace place;
    MakeFolder(place, "high", kBoth);
    const ToolResult result = RunTool({"test", place.At("high")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "ok    " + place.At("high") + "\n1 folder, 0 failed\n");
    EXPECT_EQ(result.error, "");
}

TEST(TestCommand, ShowsWhatIsMissingAndWhy) {
    const Workplace place;
    MakeFolder(place, "high", "{\"event\":\"HIGH\",\"value\":\"79\"}\n" + std::string(kBoth));
    const ToolResult result = RunTool({"test", place.At("high")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(Lines(result.output),
                ElementsAre("FAIL  " + place.At("high"), "    - HIGH   79",
                            "      HIGH is missing, " + place.At("high/v.xml:4") +
                                ": 2 of 3 calls fired; 1 call: condition > \"80\" does not hold; nearest \"79\"",
                            "1 folder, 1 failed"));
}

TEST(TestCommand, ShowsWhatIsNotExpected) {
    const Workplace place;
    MakeFolder(place, "high", "{\"event\":\"HIGH\",\"value\":\"90\"}\n");
    const ToolResult result = RunTool({"test", place.At("high")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(Lines(result.output)[1], "    + 2210  HIGH   81        2.0 us  media-server[0]  audio.SetVolume(81)");
    EXPECT_THAT(Lines(result.output)[2], StartsWith("      HIGH is not expected, "));
    EXPECT_EQ(Lines(result.output).size(), 4u);
}

TEST(TestCommand, ShowsTheFirstOfManyDifferences) {
    const Workplace place;
    const std::string missing = "{\"event\":\"HIGH\",\"value\":\"5\"}\n";
    std::string expected = kBoth;
    for (int i = 0; i < 20; ++i) expected += missing;
    MakeFolder(place, "high", expected);
    std::vector<std::string> lines = Lines(RunTool({"test", place.At("high")}).output);
    ASSERT_EQ(lines.size(), 23u);
    EXPECT_THAT(lines[20], StartsWith("    - "));
    EXPECT_THAT(lines[21], StartsWith("      HIGH is missing"));
    place.Write("high/expected.jsonl", expected + missing + missing);
    lines = Lines(RunTool({"test", place.At("high")}).output);
    ASSERT_EQ(lines.size(), 24u);
    EXPECT_THAT(lines[20], StartsWith("    - "));
    EXPECT_EQ(lines[21], "    and 2 more");
}

TEST(TestCommand, LetsNoControlCharacterReachTheTerminal) {
    const Workplace place;
    MakeFolder(place, "high", "{\"event\":\"HIGH\",\"value\":\"\\u009b2J\\u007f\"}\n" + std::string(kBoth));
    EXPECT_EQ(Lines(RunTool({"test", place.At("high")}).output)[1], R"(    - HIGH   \xc2\x9b2J\x7f)");
}

TEST(TestCommand, PrintsResultsAsJson) {
    const Workplace place;
    MakeFolder(place, "a", kBoth);
    MakeFolder(place, "b", "{\"event\":\"HIGH\",\"value\":\"5\"}\n" + std::string(kBoth));
    const ToolResult result = RunTool({"test", "--format", "json", place.Path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(
        Lines(result.output),
        ElementsAre(
            "{\"folder\":\"" + place.At("a") +
                R"(","passed":true,"updated":false,"failure":"","missing":[],"unexpected":[],"explanation":""})",
            HasSubstr(
                R"("passed":false,"updated":false,"failure":"","missing":[{"event":"HIGH","value":"5"}],"unexpected":[])")));
}

TEST(TestCommand, WritesTheExpectationWhenAsked) {
    const Workplace place;
    MakeFolder(place, "high", "");
    EXPECT_EQ(RunTool({"test", place.At("high")}).status, 1);
    EXPECT_THAT(RunTool({"test", "--update", place.At("high")}).output, StartsWith("new   "));
    EXPECT_THAT(RunTool({"test", "--update", place.At("high")}).output, StartsWith("ok    "));
    EXPECT_EQ(RunTool({"test", place.At("high")}).status, 0);
    EXPECT_EQ(
        Lines(place.Read("high/expected.jsonl")).front(),
        R"({"cycle":1,"event":"HIGH","value":"81","call":{"process":"media-server","callerName":"SetVolume","packageName":"audio","srcCodeFileRaw":"volume.cpp","in":[[{"name":"","hex":"51000000","int":81}]],"out":[],"ret":[]}})");
}

TEST(TestCommand, WritesTheWholeExpectationWhenAsked) {
    const Workplace place;
    MakeFolder(place, "high", kBoth);
    EXPECT_THAT(RunTool({"test", "--update", place.At("high")}).output, StartsWith("ok    "));
    EXPECT_EQ(place.Read("high/expected.jsonl"), kBoth);
    EXPECT_THAT(RunTool({"test", "--update", "--exact", place.At("high")}).output, StartsWith("new   "));
    EXPECT_EQ(RunTool({"test", place.At("high")}).status, 0);
    EXPECT_EQ(
        Lines(place.Read("high/expected.jsonl")).front(),
        R"({"cycle":1,"event":"HIGH","value":"81","call":{"process":"media-server","pid":0,"tid":3,"locId":3,"callerName":"SetVolume","packageName":"audio","srcCodeFileRaw":"volume.cpp","time":2210,"exitTime":4210,"in":[[{"name":"","hex":"51000000","int":81}]],"out":[],"ret":[],"duration":2000}})");
    const ToolResult alone = RunTool({"test", "--exact", place.At("high")});
    EXPECT_EQ(alone.status, 2);
    EXPECT_THAT(alone.error, HasSubstr("--update"));
}

// What a person wrote into it stays, and what it says about counts is for him to change.
TEST(TestCommand, UpdatesWhatDoesNotHold) {
    const Workplace place;
    const std::string rules =
        "{\"event\":\"HIGH\",\"value\":\"90\",\"after\":\"HIGH\",\"within_ms\":0.003}\n"
        "{\"event\":\"LOW\",\"count\":{\"min\":1}}\n";
    MakeFolder(place, "high", "{\"event\":\"HIGH\",\"value\":\"80\"}\nno json\n" + rules);
    const ToolResult result = RunTool({"test", "--update", place.At("high")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(Lines(result.output),
                ElementsAre("FAIL  " + place.At("high"), "    - LOW", "      count: 0 events came, expected at least 1",
                            "      LOW is missing, no event of that name in the scripts", "1 folder, 1 failed"));
    EXPECT_THAT(place.Read("high/expected.jsonl"),
                testing::AllOf(StartsWith("{\"cycle\":1,\"event\":\"HIGH\",\"value\":\"81\","),
                               testing::EndsWith("\"ret\":[]}}\n" + rules)));
}

TEST(TestCommand, TellsWhereARuleIsWrong) {
    const Workplace place;
    const std::string wrong = std::string(kBoth) + "\n{\"event\":\"HIGH\",\"count\":\"3\"}\n";
    MakeFolder(place, "high", wrong);
    for (const std::string option : {"--format=text", "--update"}) {
        const ToolResult result = RunTool({"test", option, place.At("high")});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.output, HasSubstr("high/expected.jsonl:4: count is \"3\"; write a number of events, or"));
    }
    EXPECT_EQ(place.Read("high/expected.jsonl"), wrong);
}

TEST(TestCommand, ShowsSideBySideWhatCameForWhat) {
    const Workplace place;
    MakeFolder(place, "high",
               "{\"event\":\"HIGH\",\"value\":\"82\",\"call\":{\"in\":[[{\"int\":82}]]}}\n"
               "{\"event\":\"HIGH\",\"value\":\"90\",\"within_ms\":0.002}\n");
    const ToolResult result = RunTool({"test", place.At("high")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(Lines(result.output),
                ElementsAre("FAIL  " + place.At("high"), "    -       HIGH   82                                 (82)",
                            "    + 2210  HIGH   81        2.0 us  media-server[0]  audio.SetVolume(81)",
                            "      value: \"82\" -> \"81\"", "      call.in.0: 82 -> 81", "    -       HIGH   90",
                            "    + 4315  HIGH   90        2.0 us  media-server[0]  audio.SetVolume(90)",
                            "      within_ms: 2.1 us after the event before it, expected within 0.002 ms",
                            "      HIGH is not as expected, " + place.At("high/v.xml:4") +
                                ": 2 of 3 calls fired; 1 call: condition > \"80\" does not hold; nearest \"79\"",
                            "1 folder, 1 failed"));
}

TEST(TestCommand, MarksOnATerminalWhatDiffers) {
    const Workplace place;
    MakeFolder(place, "high", "{\"event\":\"HIGH\",\"value\":\"82\"}\n{\"event\":\"HIGH\",\"value\":\"90\"}\n");
    Child::Setup setup;
    setup.terminal = true;
    setup.columns = 60;
    setup.environment = {{"TERM", "xterm"}, {"NO_COLOR", ""}};
    const std::string output = RunTool({"test", place.At("high")}, setup).output;
    EXPECT_THAT(output, HasSubstr("    \033[31m- \033[0m"));
    EXPECT_THAT(output, HasSubstr("  HIGH   \033[31m82      \033[0m"));
    EXPECT_THAT(output, HasSubstr("  HIGH   \033[32m81      \033[0m"));
    EXPECT_THAT(output, testing::Not(HasSubstr("\033[32mHIGH")));
}

std::string WithoutPadding(const std::string& line) {
    std::string text;
    for (const char letter : line) {
        if (letter != ' ' || (!text.empty() && text.back() != ' ')) text += letter;
    }
    return text;
}

// Of all kinds of scenarios, when nothing is expected of them.
TEST(TestCommand, ShowsEventsAsReplayDoes) {
    std::size_t compared = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QXLT_SCENARIOS)) {
        if (!std::filesystem::exists(entry.path() / "1.qxdump")) continue;
        const Workplace place;
        std::filesystem::copy(entry.path(), place.At("s"));
        place.Write("s/expected.jsonl", "");
        std::set<std::string> scripts;
        std::set<std::string> dumps;
        for (const auto& file : std::filesystem::directory_iterator(place.At("s"))) {
            if (file.path().extension() == ".xml") scripts.insert(file.path().string());
            if (file.path().extension() == ".qxdump") dumps.insert(file.path().string());
        }
        std::vector<std::string> replay = {"replay", "-p", "media-server", "--time", "raw"};
        for (const std::string& script : scripts) replay.insert(replay.end(), {"-s", script});
        replay.insert(replay.end(), dumps.begin(), dumps.end());
        std::multiset<std::string> events;
        for (const std::string& line : Lines(RunTool(replay).output)) events.insert("+ " + WithoutPadding(line));
        for (const std::string& line : Lines(RunTool({"test", place.At("s")}).output)) {
            if (line.rfind("    + ", 0) != 0 || line.find("    + cycle ") == 0) continue;
            ++compared;
            EXPECT_GE(events.count(WithoutPadding(line)), 1U) << entry.path() << "\n" << line;
        }
    }
    EXPECT_GT(compared, 60U);
}

TEST(TestCommand, AcceptsWhatReplayPrints) {
    const Workplace place;
    MakeFolder(place, "high", "");
    const ToolResult replay = RunTool(
        {"replay", "-s", place.At("high/v.xml"), "-p", "media-server", "--format", "json", place.At("high/1.qxdump")});
    place.Write("high/expected.jsonl", replay.output);
    EXPECT_EQ(RunTool({"test", place.At("high")}).status, 0);
}

TEST(TestCommand, ForgetsRememberedValuesBetweenFolders) {
    const Workplace place;
    const std::string changed = R"(<event name="NEW" tag="IN" value="0" type="INT" watch="CHANGED"/>)";
    for (const std::string name : {"a", "b"}) {
        place.Write(name + "/v.xml", VolumeScript(changed));
        place.Write(name + "/1.qxdump", VolumeDump({5}));
        place.Write(name + "/expected.jsonl", "{\"event\":\"NEW\",\"value\":\"5\"}\n");
    }
    EXPECT_EQ(RunTool({"test", place.At("a"), place.At("b")}).status, 0);
}

TEST(TestCommand, ExpectsFaultsToo) {
    const Workplace place;
    MakeFolder(place, "high", kBoth);
    const std::string damaged = VolumeDump({79, 81, 90});
    place.Write("high/1.qxdump", damaged + dump::Packet(9, "x"));
    EXPECT_EQ(RunTool({"test", place.At("high")}).status, 1);
    place.Write("high/expected.jsonl",
                "{\"damaged\":\"1.qxdump\",\"offset\":" + std::to_string(damaged.size()) + "}\n" + kBoth);
    const ToolResult result = RunTool({"test", place.At("high")});
    EXPECT_EQ(result.status, 0) << result.output;
}

TEST(TestCommand, TakesACaptureInTheFolderOrBelowIt) {
    const Workplace place;
    for (const std::string at : {"in/", "below/capture/"}) {
        place.Write(at + "capture.json", "{\"version\":1,\"processes\":{\"media-server\":412}}");
        place.Write(at + "000002/media-server.qxdump", VolumeDump({81}));
    }
    for (const std::string name : {"in", "below"}) {
        place.Write(name + "/v.xml", VolumeScript(kHighEvent));
        place.Write(name + "/expected.jsonl", "{\"cycle\":2,\"event\":\"HIGH\",\"call\":{\"pid\":412}}\n");
    }
    const ToolResult result = RunTool({"test", place.Path()});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr("2 folders, 0 failed"));
}

TEST(TestCommand, FailsAFolderThatCannotBeTestedAndGoesOn) {
    const Workplace place;
    place.Write("1/v.xml", "<Scenario>");
    place.Write("2/v.xml", VolumeScript(kHighEvent));
    place.Write("3/v.xml", "<Scenario/>");
    place.Write("3/1.qxdump", "");
    MakeFolder(place, "4", "no json\n");
    MakeFolder(place, "5", kBoth);
    const ToolResult result = RunTool({"test", place.Path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("1/v.xml:1:11: not well-formed"));
    EXPECT_THAT(result.output, HasSubstr("2: holds no capture and no *.qxdump; add one"));
    EXPECT_THAT(result.output, HasSubstr("3: whose dumps these are is not known; add process to an action"));
    EXPECT_THAT(result.output, HasSubstr("4/expected.jsonl:1:2: not JSON; write it anew"));
    EXPECT_THAT(result.output, HasSubstr("ok    " + place.At("5")));
    EXPECT_THAT(result.output, HasSubstr("5 folders, 4 failed"));
}

TEST(TestCommand, DoesNotStartWithoutFolders) {
    const Workplace place;
    place.Write("file", "");
    const std::vector<std::pair<std::string, std::string>> bad = {
        {place.At("none"), ": No such file or directory"},
        {place.At("file"), ": Not a directory"},
        {place.Path(), ": holds no *.xml; name a folder of scenarios"}};
    for (const auto& [path, said] : bad) {
        const ToolResult result = RunTool({"test", path});
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.error, StartsWith("error: " + path + said));
    }
}

TEST(TestCommand, WritesAJUnitReport) {
    const Workplace place;
    MakeFolder(place, "a", kBoth);
    MakeFolder(place, "b<&\"", "{\"event\":\"HIGH\",\"value\":\"5\"}\n" + std::string(kBoth));
    place.Write("c/v.xml", "<Scenario>");
    EXPECT_EQ(RunTool({"test", place.Path(), "--junit", place.At("results.xml")}).status, 1);
    const std::string report = place.Read("results.xml");
    EXPECT_THAT(report, HasSubstr("<testsuite name=\"qxlt\" tests=\"3\" failures=\"1\" errors=\"1\">"));
    EXPECT_THAT(report, HasSubstr("b&lt;&amp;&quot;\" time="));
    EXPECT_THAT(report, HasSubstr("<failure message=\"HIGH is missing, "));
    EXPECT_THAT(report, HasSubstr("\">- HIGH   5\n</failure>"));
    EXPECT_THAT(report, HasSubstr("<error message=\""));
    const QxXMLHandle parser(XML_ParserCreate(nullptr));
    EXPECT_EQ(XML_Parse(parser.get(), report.data(), static_cast<int>(report.size()), XML_TRUE), XML_STATUS_OK);
}

TEST(TestCommand, RefusesAnExpectationThatIsNestedTooDeep) {
    const Workplace place;
    for (const std::size_t depth : {std::size_t{65}, std::size_t{1000000}}) {
        MakeFolder(place, "a", std::string(kBoth) + "{\"a\":" + std::string(depth, '['));
        const ToolResult result = RunTool({"test", place.At("a")});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.output, HasSubstr("a/expected.jsonl:3: nested more than 64 deep; write it anew\n"));
    }
}

TEST(TestCommand, WritesTheReportThoughNobodyReads) {
    const Workplace place;
    MakeFolder(place, "a", kBoth);
    MakeFolder(place, "b", "{\"event\":\"HIGH\",\"value\":\"5\"}\n");
    Child tool(ToolSetup({"test", place.Path(), "--junit", place.At("results.xml")}));
    tool.CloseOutput();
    EXPECT_EQ(tool.Finish(), 1);
    EXPECT_THAT(place.Read("results.xml"), HasSubstr("tests=\"2\" failures=\"1\" errors=\"0\""));
}

TEST(TestCommand, TellsThatTheReportCannotBeWritten) {
    const Workplace place;
    MakeFolder(place, "a", kBoth);
    const ToolResult result = RunTool({"test", place.At("a"), "--junit", place.At("none/results.xml")});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, StartsWith("error: " + place.At("none/results.xml") + ": No such file or directory"));
}

}  // namespace
