// The tree of calls that `qxlt trace` prints.
#include <gmock/gmock.h>

#include <filesystem>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "NestedCapture.h"
#include "Workplace.h"
#ifdef QX_TRACED
#include "TracedProgram.h"
#endif

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// The calls of a tree, without the columns before them.
std::vector<std::string> Tree(const std::vector<std::string>& options) {
    const Workplace place;
    std::vector<std::string> arguments = {"trace", NestedCapture(place)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    std::vector<std::string> calls;
    const std::vector<std::string> lines = Lines(result.output);
    const std::size_t column = lines.empty() ? 0 : lines.front().find("CALL");
    for (const std::string& line : lines) calls.push_back(line.substr(column));
    return calls;
}

TEST(Trace, PrintsCallsAsTheyNest) {
    const Workplace place;
    const ToolResult result = RunTool({"trace", NestedCapture(place)});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "5 calls\n");
    EXPECT_EQ(result.output, R"(       TIME    DURATION  THREAD                CALL
   0.000000              m[7] mixer            audio.Play("hd"mi") {
   0.000000      4.0 us  m[7] 4                audio.SetVolume(20)
   0.000001      2.0 us  m[7] mixer              audio.SetVolume(85)
   0.000003           -  m[7] mixer              audio.Log(true, 2.5)
   0.000006      6.0 us  m[7] mixer            } = -1
   0.000006      1.0 us  m[7] mixer            audio.Move({x:1 y:2}) out (255)
   0.000007              m[7]                  ~ lost: overwritten 3, refused 2
)");
}

TEST(Trace, TakesOneProcessOrThread) {
    EXPECT_THAT(Tree({"--thread", "4"}),
                ElementsAre("CALL", "audio.SetVolume(20)", "~ lost: overwritten 3, refused 2"));
    EXPECT_EQ(Tree({"--thread", "mix*"}), Tree({"--thread", "3"}));
    EXPECT_EQ(Tree({"-p", "x", "-p", "?"}), Tree({}));
    EXPECT_THAT(Tree({"-p", "x"}), ElementsAre("CALL", "~ lost: overwritten 3, refused 2"));
}

TEST(Trace, TakesSomeMethods) {
    EXPECT_THAT(Tree({"--method", "Set*"}),
                ElementsAre("CALL", "audio.SetVolume(20)", "audio.SetVolume(85)", StartsWith("~")));
    EXPECT_EQ(Tree({"--method", "audio.S*"}), Tree({"--method", "SetVolume"}));
    EXPECT_THAT(Tree({"--method", "S"}), ElementsAre("CALL", StartsWith("~")));
}

TEST(Trace, TakesCallsThatAreNotDeep) {
    EXPECT_THAT(Tree({"--depth", "1", "--thread", "3"}),
                ElementsAre("CALL", "audio.Play(\"hd\"mi\") = -1", "audio.Move({x:1 y:2}) out (255)", StartsWith("~")));
    EXPECT_EQ(Tree({"--depth", "2"}), Tree({}));
}

TEST(Trace, TakesCallsThatTookLonger) {
    EXPECT_THAT(Tree({"--longer-than", "3us"}),
                ElementsAre("CALL", "audio.Play(\"hd\"mi\") = -1", "audio.SetVolume(20)", StartsWith("~")));
    EXPECT_THAT(Tree({"--longer-than", "4us"}), ElementsAre("CALL", "audio.Play(\"hd\"mi\") = -1", StartsWith("~")));
    EXPECT_THAT(Tree({"--longer-than", "1h"}), ElementsAre("CALL", StartsWith("~")));
}

TEST(Trace, PrintsALineForEachCallAsJson) {
    const Workplace place;
    const ToolResult result = RunTool({"trace", NestedCapture(place), "--format", "json"});
    EXPECT_EQ(result.error, "");
    const std::vector<std::string> lines = Lines(result.output);
    ASSERT_EQ(lines.size(), 6u) << result.output;
    EXPECT_THAT(lines[0], StartsWith(R"({"depth":0,"call":{"key":)"));
    EXPECT_THAT(lines[0], HasSubstr(R"("callerName":"Play")"));
    EXPECT_THAT(lines[2], StartsWith(R"({"depth":1,"call":{"key":)"));
    EXPECT_THAT(lines[2], HasSubstr(R"("callerName":"SetVolume")"));
    EXPECT_EQ(lines[5],
              R"({"cycle":2,"loss":{"process":"m","recorded":9,"delivered":4,"open":0,"overwritten":3,"refused":2,)"
              R"("dropped":0,"exitsDropped":0,"bytesNotDecoded":0}})");
}

// Of a capture, calls from before the start of the run are left out as in a replay.
TEST(Trace, LeavesOutWhatIsOlderThanTheRun) {
    const Workplace place;
    const std::string capture = NestedCapture(place);
    place.Write("capture/capture.json", CaptureFile("\"m\":7", "1000"));
    EXPECT_THAT(RunTool({"trace", capture, "--thread", "3"}).error,
                "2 calls from before the start left out; --history shows them\n3 calls\n");
    EXPECT_THAT(RunTool({"trace", capture, "--thread", "3", "--history"}).error, "4 calls\n");
}

TEST(Trace, MakesNamesFitForATerminal) {
    const Workplace place;
    using namespace dump;
    place.Write("capture/capture.json", CaptureFile("\"m\\u001b[2J\":7"));
    place.Write(
        "capture/000002/m%1B%5B2J.qxdump",
        Persistent({Item(kLocation,
                         Location(3).Name("\x1b]0;x\x07", "\xFF<script>").Arg("std::string", kIn, kVariableSize))}) +
            Properties(3, Item(kThreadName, ThreadName("\x1b[31m"))) +
            Thread(3, {StreamItem(kBefore, Before(5, 3, Variable("\n\x1b[1m")))}));
    const ToolResult result = RunTool({"trace", place.At("capture")});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr("m\\x1b[2J[7] \\x1b[31m  \\xff<script>.\\x1b]0;x\\x07(\"\\n\\x1b[1m\")\n"));
    EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
}

TEST(Trace, ShowsWhatADamagedCaptureHolds) {
    const Workplace place;
    const std::string capture = NestedCapture(place);
    place.Write("capture/000002/m.qxdump", LaterCall(21) + dump::Packet(9, "x"));
    const ToolResult result = RunTool({"trace", capture});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("audio.SetVolume(21)"));
    EXPECT_THAT(result.output, HasSubstr("bytes not decoded 3"));
    EXPECT_THAT(result.error, HasSubstr("000002/m.qxdump"));
}

TEST(Trace, SaysWhatItNeeds) {
    const Workplace place;
    EXPECT_EQ(
        RunTool({"trace"}).error,
        "error: name a capture, a recording with --recording, or else live processes with -p; see qxlt trace --help\n");
    EXPECT_EQ(RunTool({"trace", place.Path()}).status, 2);
    EXPECT_EQ(RunTool({"trace", place.At("missing")}).status, 2);
    EXPECT_THAT(RunTool({"trace", place.Path(), "--longer-than", "x"}).error, HasSubstr("is no time above 0"));
    EXPECT_EQ(RunTool({"trace", place.Path(), "--depth", "0"}).status, 2);
}

#ifdef QXLT_MEDIA_SERVER

// Within OpenStream the example probes the stream.
TEST(Trace, PrintsTheCallsOfALiveProcess) {
    const Workplace place;
    const std::string name = place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
    std::filesystem::create_directory(place.At("run"));
    std::filesystem::permissions(place.At("run"), std::filesystem::perms::owner_all);
    Child::Setup setup;
    setup.environment["QX_RUNTIME_DIR"] = place.At("run");
    setup.command = {place.At(name), "--rate", "600", "--seconds", "60"};
    Child server(setup);
    setup.command.clear();
    Child tool(ToolSetup({"trace", "-p", name, "--pause", "fast", "--for", "20s"}, setup));
    EXPECT_TRUE(tool.WaitForOutput("} = ")) << tool.Output() << tool.Error();
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    EXPECT_THAT(tool.Output(), testing::ContainsRegex(" streams +net.OpenStream\\(\"[^\n]*\\) \\{\n"));
    EXPECT_THAT(tool.Output(), testing::ContainsRegex("[un]s +[^\n]* streams +  net.ProbeStream\\(\""));
    EXPECT_THAT(tool.Error(), testing::ContainsRegex("\n[0-9]+ calls\n$"));
    EXPECT_THAT(tool.Error(), testing::Not(testing::ContainsRegex("events in [0-9]+ cycle")));
}

#endif

}  // namespace
