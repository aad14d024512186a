// The explanations of `qxlt replay`, and its output on terminals and for readers that are slow or gone.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <fstream>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "PageVisit.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

TEST(Replay, ExplainsEveryEvent) {
    const Workplace place;
    const std::string events =
        R"(<event name="HIGH" tag="IN" value="0" type="INT" watch="D-CONDITIONAL" condition="&gt;" conditionValue="80"/>)"
        R"(<event name="WORD" tag="IN" value="0" type="INT" keyword="12" watch="ALWAYS"/>)"
        R"(<event name="NEW" tag="IN" value="0" type="INT" watch="CHANGED"/>)"
        R"(<event name="FOURTH" tag="IN" value="3" type="INT"/>)"
        R"(<event name="BAD" tag="IN" value="0" type="INT" watch="CONDITIONAL" condition="&lt;" conditionValue="x"/>)";
    const std::string script = place.Write("v.xml", VolumeScript(events));
    const std::string dump = place.Write("a", VolumeDump({10, 79, 81, 90, 90}));
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", "--explain", dump});
    const std::string place4 = "  " + script + ":4";
    std::vector<std::string> table = Lines(result.output);
    table.erase(table.begin(), table.end() - 11);
    EXPECT_THAT(
        table, ElementsAre(
                   "event     calls   method    value   filter  keyword  condition     edge    fired   errors  place",
                   "HIGH          5        5        5        5        5          3        1        1        0" + place4,
                   "    2 calls: condition > \"80\" does not hold; nearest \"79\", \"10\"",
                   "WORD          5        5        5        5        0          0        0        0        0" + place4,
                   "    5 calls: the value is not the keyword \"12\"; nearest \"10\", \"79\", \"81\"",
                   "NEW           5        5        5        5        5          4        4        4        0" + place4,
                   "    1 call: the value did not change; nearest \"90\"",
                   "FOURTH        5        5        0        0        0          0        0        0        0" + place4,
                   "    5 calls: no value at index \"3\" of IN",
                   "BAD           5        5        5        5        5          0        0        0        5" + place4,
                   "    5 calls: condition < \"x\": an operand is no number in range"));
}

TEST(Replay, ExplainsThatTheMethodWasNotCalled) {
    const Workplace place;
    const std::string script =
        place.Write("v.xml", R"(<Scenario><action><method name="SetVolum"/><event name="E"/></action></Scenario>)");
    const ToolResult result =
        RunTool({"replay", "-s", script, "-p", "m=1", "--explain", place.Write("a", VolumeDump({10}))});
    EXPECT_EQ(Lines(result.output).back(), "    1 call: no call of SetVolum; nearest \"SetVolume\"");
}

// Which values are near depends on how the operands are read and combined.
TEST(Replay, NamesTheValuesThatCameNearestToTheCondition) {
    const Workplace place;
    const std::string dump = place.Write("a", VolumeDump({10, 79, 81, 90}));
    struct Row {
        const char* condition;
        const char* value;
        const char* type;
        const char* reason;
    };
    const Row rows[] = {
        {"==", "80", "", R"(4 calls: condition == "80" does not hold; nearest "79", "81", "90")"},
        // Without conditionType all of it is one operand, 12.
        {"==", "12&amp;90", "", R"(4 calls: condition == "12&90" does not hold; nearest "10", "79", "81")"},
        {"==", "12&amp;80", "OR", R"(4 calls: condition == "12&80" (OR) does not hold; nearest "79", "81", "10")"},
        // Both at once: what is between them is nearest.
        {"==", "0&amp;95", "AND", R"(4 calls: condition == "0&95" (AND) does not hold; nearest "79", "81", "10")"},
        // The last one alone decides.
        {"==", "12&amp;92", "XOR", R"(4 calls: condition == "12&92" (XOR) does not hold; nearest "90", "81", "79")"},
        {"&gt;", "90&amp;95", "AND", R"(4 calls: condition > "90&95" (AND) does not hold; nearest "90", "81", "79")"},
        {"&lt;", "10", "", R"(4 calls: condition < "10" does not hold; nearest "10", "79", "81")"},
        {"range", "82,89", "OR", R"(4 calls: condition range "82,89" (OR) does not hold; nearest "81", "90", "79")"},
        // Nothing would have been near enough.
        {"range", "89,82", "", R"(4 calls: condition range "89,82" does not hold)"},
        {"==", "", "OR", R"(4 calls: condition == "" (OR) does not hold)"},
        {"=", "10", "", R"(4 calls: condition = "10" does not hold)"}};
    for (const Row& row : rows) {
        const std::string event = std::string(R"(<event name="E" tag="IN" value="0" type="INT" watch="CONDITIONAL")") +
                                  " condition=\"" + row.condition + "\" conditionValue=\"" + row.value +
                                  "\" conditionType=\"" + row.type + "\"/>";
        const std::string script = place.Write("v.xml", VolumeScript(event));
        const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", "--explain", dump});
        EXPECT_EQ(Lines(result.output).back(), std::string("    ") + row.reason);
    }
}

TEST(Replay, ExplainsWhereAMethodsCallsWent) {
    const Workplace place;
    const std::string script = place.Write("v.xml",
                                           "<Scenario><action name=\"a\"><method name=\"SetVolume\"/></action>\n"
                                           "<action name=\"a\"><method name=\"Idle\"/><method name=\"SetVolume\"/>"
                                           "<event name=\"E\"/></action></Scenario>");
    const ToolResult result =
        RunTool({"replay", "-s", script, "-p", "m=1", "--explain", place.Write("a", VolumeDump({10}))});
    EXPECT_EQ(Lines(result.output).back(), "    1 call: SetVolume goes to another action of that name");
}

TEST(Replay, ExplainsAnEventCallByCall) {
    const Workplace place;
    const std::string events =
        std::string(kEveryVolume) +
        R"(<event name="HIGH" tag="IN" value="0" type="INT" watch="D-CONDITIONAL" condition="&gt;" conditionValue="80"/>)";
    const std::string script = place.Write("v.xml", VolumeScript(events));
    const std::string dump = place.Write("a", VolumeDump({79, 81, 90}));
    const ToolResult text = RunTool({"replay", "-s", script, "-p", "m=1", "--explain=HIGH", dump});
    EXPECT_THAT(text.output, HasSubstr("cycle 1, time 105, HIGH \"79\": condition > \"80\" does not hold\n"));
    EXPECT_THAT(text.output, HasSubstr("cycle 1, time 2210, HIGH \"81\": fires\n"));
    EXPECT_THAT(text.output, HasSubstr("cycle 1, time 4315, HIGH \"90\": condition > \"80\" held before\n"));
    EXPECT_THAT(text.output, Not(HasSubstr("VOLUME \"79\"")));
    const ToolResult json = RunTool({"replay", "-s", script, "-p", "m=1", "--format", "json", "--explain=HIGH", dump});
    EXPECT_THAT(json.output, HasSubstr(R"({"decided":"HIGH","cycle":1,"time":2210,"value":"81","decision":"fires"})"));
    EXPECT_THAT(
        Lines(json.output).back(),
        HasSubstr(
            R"("calls":3,"method":3,"value":3,"filter":3,"keyword":3,"condition":2,"edge":1,"fired":1,"errors":0)"));
}

// U+009B begins an escape sequence, as ESC [ does.
TEST(Replay, LetsNoControlCharacterReachTheTerminal) {
    const Workplace place;
    const std::string script =
        place.Write("v\x1b[2J.xml",
                    VolumeScript("<event name=\"E&#155;\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"CONDITIONAL\" "
                                 "condition=\"&#155;&#10;\" conditionValue=\"&#155;\" conditionType=\"&#155;\"/>"));
    const std::string dump = place.Write("a", VolumeDump({10}));
    for (const char* const option : {"--explain", "--explain=E\xC2\x9B"}) {
        const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", option, dump});
        EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
        EXPECT_THAT(result.output, Not(HasSubstr("\xC2\x9B")));
        EXPECT_THAT(result.output, HasSubstr(R"(v\x1b[2J.xml:4)"));
        EXPECT_THAT(result.output, HasSubstr(R"(condition \xc2\x9b\n "\xc2\x9b" (\xc2\x9b) does not hold)"));
    }
}

// The reader's right to go away takes nothing back that was said before.
TEST(Replay, KeepsItsStatusWhenTheReaderHasGone) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string pipe = place.At("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const bool damaged : {false, true}) {
        const std::string first = place.Write("a", VolumeDump({5}) + (damaged ? dump::Packet(9, "x") : ""));
        Child tool(ToolSetup({"replay", "-s", script, "-p", "m=1", first, pipe}));
        EXPECT_TRUE(tool.WaitForOutput("VOLUME"));
        tool.CloseOutput();
        std::ofstream(pipe, std::ios::binary) << VolumeDump({6});
        EXPECT_EQ(tool.Finish(), damaged ? 1 : 0);
        EXPECT_EQ(Lines(tool.Error()).size(), damaged ? 1u : 0u) << tool.Error();
    }
}

TEST(Replay, WaitsForRoomInAnOutputThatDoesNotWait) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string dump = place.Write("a", VolumeDump(std::vector<int>(2000, 5)));
    Child::Setup setup;
    setup.impatient = true;
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", "--format", "json", dump}, setup);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(Lines(result.output).size(), 2000u);
}

TEST(Replay, ColoursOnlyATerminal) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::vector<std::string> arguments = {"replay", "-s", script, "-p", "m=1", place.Write("a", VolumeDump({5}))};
    Child::Setup terminal;
    terminal.terminal = true;
    terminal.environment = {{"TERM", "xterm"}, {"NO_COLOR", ""}};
    EXPECT_THAT(RunTool(arguments, terminal).output, HasSubstr("\033[1mVOLUME\033[0m"));
    terminal.environment = {{"TERM", "xterm"}, {"NO_COLOR", "1"}};
    EXPECT_THAT(RunTool(arguments, terminal).output, Not(HasSubstr("\033[")));
    EXPECT_THAT(RunTool(arguments).output, Not(HasSubstr("\033[")));
}

TEST(Replay, ShowsProgressOnATerminal) {
    const Workplace place;
    const std::string script = place.Write("v.xml", "<session/>");
    const std::string dump = place.Write("a", VolumeDump(std::vector<int>(20000, 5)));
    std::vector<std::string> arguments = {"replay", "-s", script, "-p", "m=1"};
    arguments.insert(arguments.end(), 2000, dump);
    Child::Setup terminal;
    terminal.terminal = true;
    Child tool(ToolSetup(arguments, terminal));
    EXPECT_TRUE(tool.WaitForOutput("\r\033[Kdump "));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 128 + SIGINT);
}

TEST(Replay, NeedsNoMoreMemoryForManyCycles) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string dump = place.Write("a", VolumeDump(std::vector<int>(20000, 5)));
    Child::Setup setup;
    setup.output = "/dev/null";
    setup.environment = {{"ASAN_OPTIONS", "quarantine_size_mb=1"}};  // a sanitizer keeps what was freed
    std::vector<std::string> arguments = {"replay", "-s", script, "-p", "m=1", dump, dump};
    const ToolResult two = RunTool(arguments, setup);
    arguments.insert(arguments.end(), 20, dump);
    const ToolResult many = RunTool(arguments, setup);
    EXPECT_EQ(many.status, 0);
    EXPECT_LT(many.largestSize, two.largestSize * 5 / 4);
}

// A capture of a long run holds any number of cycles; what is held of them is one.
TEST(Replay, NeedsNoMoreMemoryForALongCapture) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string dump = VolumeDump(std::vector<int>(20000, 5));
    Child::Setup setup;
    setup.output = "/dev/null";
    setup.environment = {{"ASAN_OPTIONS", "quarantine_size_mb=1"}};  // a sanitizer keeps what was freed
    const auto capture = [&](const std::string& name, int cycles) {
        place.Write(name + "/capture.json", CaptureFile("\"m\":7"));
        for (int i = 1; i <= cycles; ++i) {
            const std::string number = std::to_string(i);
            place.Write(name + "/" + std::string(6 - number.size(), '0') + number + "/m.qxdump", dump);
        }
        return place.At(name);
    };
    const std::string few = capture("few", 3);
    const std::string many = capture("many", 24);
    std::vector<std::vector<std::string>> commands = {
        {"replay", "-s", script, few}, {"list", few}, {"trace", few}, {"export", "--format", "chrome", few}};
    if (ToolHasPage()) commands.push_back({"view", "-o", place.At("page.html"), few});
    for (std::vector<std::string> command : commands) {
        const ToolResult shortRun = RunTool(command, setup);
        command.back() = many;
        const ToolResult longRun = RunTool(command, setup);
        EXPECT_EQ(longRun.status, 0) << command.front();
        EXPECT_LT(longRun.largestSize, shortRun.largestSize * 5 / 4) << command.front();
    }
}

}  // namespace
