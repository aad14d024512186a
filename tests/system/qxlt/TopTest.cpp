// `qxlt top` and `qxlt report`: how often methods are called, and how long they take.
#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "NestedCapture.h"
#include "Text.h"
#include "Workplace.h"

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

// What is said of the methods of the capture, one line for each.
std::vector<std::string> Report(const std::vector<std::string>& options) {
    const Workplace place;
    std::vector<std::string> arguments = {"report", NestedCapture(place), "--format", "json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    std::vector<std::string> lines = Lines(result.output);
    EXPECT_THAT(lines.front(), HasSubstr("\"loss\""));
    lines.erase(lines.begin());
    return lines;
}

std::vector<std::string> Methods(const std::vector<std::string>& lines) {
    std::vector<std::string> names;
    for (const std::string& line : lines) {
        const std::size_t at = line.find("\"callerName\":\"") + 14;
        names.push_back(line.substr(at, line.find('"', at) - at));
    }
    return names;
}

TEST(Report, PrintsTablesOfMethodsAndValues) {
    const Workplace place;
    const ToolResult result = RunTool({"report", NestedCapture(place), "--error", "-*"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "warning: m, lost: overwritten 3, refused 2\n5 calls\n");
    EXPECT_EQ(result.output,
              R"(method           calls   calls/s  errors   least    mean     p99  greatest  threads
audio.SetVolume      2  281888.7       0  2.0 us  3.0 us  4.0 us    4.0 us        2
audio.Log            1  140944.3       0       -       -       -         -        1
audio.Move           1  140944.3       0  1.0 us  1.0 us  1.0 us    1.0 us        1
audio.Play           1  140944.3       1  6.0 us  6.0 us  6.0 us    6.0 us        1

value                 distinct  most often
audio.SetVolume in.0         2  20 (1), 85 (1)
audio.Log in.0               1  true (1)
audio.Log in.1               1  2.5 (1)
audio.Move in.0              1  {x:1 y:2} (1)
audio.Move out.0             1  255 (1)
audio.Play in.0              1  "hd"mi" (1)
audio.Play ret               1  -1 (1)
)");
}

TEST(Report, PrintsALineForEachMethodAsJson) {
    const std::vector<std::string> lines = Report({"--sort", "name", "--method", "[SL]*"});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(lines[0],
              R"({"statistics":{"method":"audio.Log","process":"m","packageName":"audio","callerName":"Log","calls":1,)"
              R"("perSecond":250000,"errors":0,"timed":0,"threads":1,"moreThreads":false,"values":[)"
              R"({"value":"in.0","distinct":1,"more":false,"most":[{"text":"true","calls":1}]},)"
              R"({"value":"in.1","distinct":1,"more":false,"most":[{"text":"2.5","calls":1}]}]}})");
    EXPECT_THAT(lines[1], HasSubstr(R"("calls":2,"perSecond":5e+05,"errors":0,"timed":2,"least":2000,"mean":3000,)"
                                    R"("p99":4000,"greatest":4000,"threads":2,)"));
}

TEST(Report, IsSortedAsItIsAskedFor) {
    EXPECT_THAT(Methods(Report({"--sort", "greatest"})), ElementsAre("Play", "SetVolume", "Move", "Log"));
    EXPECT_THAT(Methods(Report({"--sort", "least"})), ElementsAre("Play", "SetVolume", "Move", "Log"));
    EXPECT_THAT(Methods(Report({"--sort", "threads"})), ElementsAre("SetVolume", "Log", "Move", "Play"));
    EXPECT_THAT(Methods(Report({"--sort", "errors", "--error", "-1", "--error", "false"})),
                ElementsAre("Play", "Log", "Move", "SetVolume"));
}

TEST(Report, TakesSomeCalls) {
    EXPECT_THAT(Methods(Report({"--method", "audio.S*", "--method", "Move"})), ElementsAre("SetVolume", "Move"));
    EXPECT_THAT(Methods(Report({"--thread", "4"})), ElementsAre("SetVolume"));
    EXPECT_THAT(Report({"--only-process", "x"}), IsEmpty());
}

TEST(Report, LeavesOutWhatIsOlderThanTheRun) {
    const Workplace place;
    const std::string capture = NestedCapture(place);
    place.Write("capture/capture.json", CaptureFile("\"m\":7", "1000"));
    EXPECT_THAT(RunTool({"report", capture}).error,
                testing::EndsWith("\n3 calls\n2 calls from before the start left out; --history shows them\n"));
    EXPECT_THAT(RunTool({"report", capture, "--history"}).error, testing::EndsWith("\n5 calls\n"));
}

TEST(Report, FitsATerminal) {
    const Workplace place;
    Child::Setup setup;
    setup.terminal = true;
    setup.columns = 64;
    setup.environment = {{"NO_COLOR", "1"}};
    const std::string output = RunTool({"report", NestedCapture(place), "--sort", "p99"}, setup).output;
    EXPECT_THAT(output, StartsWith("method audio.Play\r\n  calls     1\r\n"));
    for (std::string line : Lines(output)) {
        line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
        EXPECT_LE(qxlt::CharactersOf(line), 64U) << line;
    }
    EXPECT_THAT(output, HasSubstr("audio.Play ret "));
}

TEST(Report, MakesNamesFitForATerminal) {
    const Workplace place;
    using namespace dump;
    place.Write("capture/capture.json", CaptureFile("\"m\\u001b[2J\":7"));
    place.Write(
        "capture/000002/m%1B%5B2J.qxdump",
        Persistent({Item(kLocation, Location(3).Name("\x1b]0;x\x07", "\xFF").Arg("std::string", kIn, kVariableSize))}) +
            Thread(3, {StreamItem(kBefore, Before(5, 3, Variable("\n\x1b[1m")))}));
    const ToolResult result = RunTool({"report", place.At("capture")});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr("\\xff.\\x1b]0;x\\x07 in.0         1  \"\\n\\x1b[1m\" (1)\n"));
    EXPECT_THAT(result.output, HasSubstr("      1        -      -")) << "one moment has no calls per second";
    EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
    EXPECT_EQ(RunTool({"report", place.At("capture"), "--format", "json"}).status, 0);
}

TEST(Report, TellsOfWhatADamagedCaptureHolds) {
    const Workplace place;
    const std::string capture = NestedCapture(place);
    place.Write("capture/000002/m.qxdump", LaterCall(21) + dump::Packet(9, "x"));
    const ToolResult result = RunTool({"report", capture});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("audio.SetVolume in.0         2  21 (1), 85 (1)"));
    EXPECT_THAT(result.error, HasSubstr("bytes not decoded 3"));
    EXPECT_THAT(result.error, HasSubstr("000002/m.qxdump"));
}

TEST(Report, SaysWhatItNeeds) {
    const Workplace place;
    EXPECT_EQ(RunTool({"report"}).error, "error: CAPTURE is required, or else --recording; see qxlt report --help\n");
    EXPECT_EQ(RunTool({"report", place.Path()}).status, 2);
    EXPECT_THAT(RunTool({"report", place.Path(), "--sort", "size"}).error,
                HasSubstr("\"size\" is none of calls|errors|least|mean|p99|greatest|threads|name"));
    EXPECT_EQ(RunTool({"top"}).error, "error: --process is required; see qxlt top --help\n");
    EXPECT_THAT(RunTool({"top", "-p", "x", "--every", "0"}).error, HasSubstr("is no time above 0"));
}

#ifdef QXLT_MEDIA_SERVER

// The example runs under a name that no other process has.
class Top : public testing::Test {
protected:
    Top() {
        std::filesystem::create_directory(m_place.At("run"));
        std::filesystem::permissions(m_place.At("run"), std::filesystem::perms::owner_all);
    }

    Child::Setup Setup() const {
        Child::Setup setup;
        setup.environment = {{"QX_RUNTIME_DIR", m_place.At("run")}};
        return setup;
    }

    Child::Setup Server() const {
        Child::Setup setup = Setup();
        setup.command = {m_place.At(m_name), "--rate", "600", "--seconds", "110"};
        return setup;
    }

    // On a terminal of a kind, with keys.
    Child::Setup Screen(const std::vector<std::string>& options, const std::string& kind = "xterm") const {
        Child::Setup setup = Setup();
        setup.terminal = setup.keyboard = true;
        setup.columns = 100;
        setup.environment["TERM"] = kind;
        return Tool(options, setup);
    }

    Child::Setup Tool(const std::vector<std::string>& options, const Child::Setup& setup) const {
        std::vector<std::string> arguments = {"top", "-p", m_name, "--pause", "fast"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return ToolSetup(arguments, setup);
    }

    const Workplace m_place;
    const std::string m_name = m_place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
};

// The text behind the last place where a part of it is.
std::string Behind(const std::string& text, const std::string& part) {
    return text.substr(std::min(text.rfind(part), text.size()));
}

bool StandBehind(const std::string& text, const std::vector<std::string>& parts) {
    std::size_t at = 0;
    for (const std::string& part : parts) {
        at = text.find(part, at);
        if (at == std::string::npos) return false;
    }
    return true;
}

TEST_F(Top, PrintsOneTableAndEnds) {
    const Child server(Server());
    Child tool(Tool({"--once", "--error", "-*", "--sort", "name"}, Setup()));
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    const std::vector<std::string> lines = Lines(tool.Output());
    ASSERT_GT(lines.size(), 5U) << tool.Output();
    EXPECT_THAT(lines[0], testing::MatchesRegex(m_name + "  [0-9]+\\.[0-9] calls/s, 0 lost"));
    EXPECT_THAT(lines[1], testing::MatchesRegex("method +calls/s  errors +least +mean +p99  greatest  threads"));
    EXPECT_THAT(lines[2], testing::MatchesRegex("audio.GetVolume +[0-9]+\\.[0-9] +[0-9]+ +[0-9].*s +1"));
    EXPECT_THAT(tool.Output(), ContainsRegex("\nnet.OpenStream +[0-9.]+ +[1-9]"));
    EXPECT_EQ(tool.Output().find("\nmethod"), tool.Output().rfind("\nmethod"));
    EXPECT_THAT(tool.Error(), Not(HasSubstr("--history")));
}

TEST_F(Top, PrintsALineForEachMethodAndInterval) {
    const Child server(Server());
    Child tool(Tool({"--for", "6s", "--format", "json", "--method", "SetVolume"}, Setup()));
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    const std::vector<std::string> lines = Lines(tool.Output());
    ASSERT_GT(lines.size(), 2U) << tool.Output();
    EXPECT_THAT(lines[0], StartsWith("{\"interval\":1,\"seconds\":"));
    EXPECT_THAT(lines[0], HasSubstr("\"statistics\":{\"method\":\"audio.SetVolume\",\"process\":\"" + m_name + "\""));
    EXPECT_THAT(lines[1], StartsWith("{\"interval\":2,\"seconds\":"));
}

// What it counts is what the program made meanwhile: the first interval begins when all processes run.
TEST_F(Top, WaitsForProcesses) {
    Child tool(Tool({"--once", "--method", "SetVolume", "--format", "json"}, Setup()));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
    const Child server(Server());
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    EXPECT_THAT(tool.Output(), ContainsRegex("\"perSecond\":[0-9]{2,3}[.,]")) << "of 100 in a second";
    Child other(ToolSetup({"top", "-p", "nobody-at-all", "--for", "100ms"}, Setup()));
    EXPECT_EQ(other.Finish(), 2);
    EXPECT_THAT(other.Error(), HasSubstr("the time is over and nobody-at-all does not run"));
}

TEST_F(Top, AnswersKeysWhileNothingComes) {
    const Child server(Server());
    Child tool(Screen({"--every", "1h"}));
    EXPECT_TRUE(tool.WaitForOutput("by calls")) << tool.Output();
    EXPECT_FALSE(tool.IsTerminalPlain());
    EXPECT_TRUE(tool.WaitForOutput("ready")) << tool.Output();
    tool.Type("m");
    EXPECT_TRUE(tool.WaitForOutput("the last, by mean")) << tool.Output();
    tool.Type("r");
    EXPECT_TRUE(tool.WaitForOutput("the last, by mean, reversed")) << tool.Output();
    tool.Resize(30, 10);
    tool.Type("p9");
    EXPECT_TRUE(tool.WaitForOutput("by p99")) << tool.Output();
    tool.Type("q");
    EXPECT_TRUE(tool.WaitForOutput("\x1b[?1049l")) << tool.Output();
    EXPECT_TRUE(tool.WaitForOutput("longest callback")) << tool.Output();
    EXPECT_TRUE(tool.IsTerminalPlain());
    EXPECT_EQ(tool.Finish(), 0);
    // What was said stands on the terminal afterwards, too.
    EXPECT_TRUE(StandBehind(Behind(tool.Output(), "\x1b[?1049l"), {"tracking ", "ready\r\n", "process"}));
}

TEST_F(Top, IsSortedAnewByKeys) {
    const Child server(Server());
    Child tool(Screen({}));
    EXPECT_TRUE(tool.WaitForOutput("audio.SetVolume")) << tool.Output();
    tool.Type("n");
    EXPECT_TRUE(tool.WaitForOutput(" s, by name")) << tool.Output();
    EXPECT_TRUE(tool.WaitForOutput("player.SeekTo")) << tool.Output();
    tool.Type("rzzz");
    EXPECT_TRUE(tool.WaitForOutput("by name, reversed")) << tool.Output();
    tool.Type("aq");
    EXPECT_EQ(tool.Finish(), 0);
    const std::string byName = tool.Output().substr(tool.Output().find("by name"));
    EXPECT_TRUE(StandBehind(byName, {"audio.GetVolume", "audio.SetMute", "audio.SetVolume", "net.CloseStream"}));
    const std::string reversed = tool.Output().substr(tool.Output().find("by name, reversed"));
    EXPECT_TRUE(StandBehind(reversed, {"player.SeekTo", "net.CloseStream", "audio.SetVolume", "audio.GetVolume"}));
    // The numbers of the whole run stay.
    EXPECT_THAT(Behind(tool.Output(), "\x1b[?1049l"), HasSubstr("\r\naudio.SetVolume "));
}

TEST_F(Top, GivesTheTerminalBackWhenASignalEndsIt) {
    const Child server(Server());
    Child tool(Screen({}));
    EXPECT_TRUE(tool.WaitForOutput("audio.SetVolume")) << tool.Output();
    tool.Type("\x03");  // no terminal of this process sends a signal for it
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(Behind(tool.Output(), "\x1b[?1049l"), HasSubstr("\r\naudio.SetVolume "));
}

TEST_F(Top, PrintsTablesOnATerminalOfAnUnknownKind) {
    const Child server(Server());
    Child tool(Screen({"--for", "5s"}, "no-such-terminal"));
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Output(), HasSubstr("\r\naudio.SetVolume "));
    EXPECT_THAT(tool.Output(), Not(HasSubstr("\x1b[?1049h")));
}

#endif

}  // namespace
