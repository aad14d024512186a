// `qxlt run`, run as its user runs it, over live processes.
#ifdef QXLT_MEDIA_SERVER
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <sstream>

#include "TracedRun.h"

namespace {

namespace fs = std::filesystem;

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

// The lines of the text that hold the part.
std::string LinesWith(const std::string& part, const std::string& text) {
    std::string found;
    for (const std::string& line : Lines(text)) {
        if (line.find(part) != std::string::npos) found += line + "\n";
    }
    return found;
}

class Run : public TracedRun {
protected:
    // Lets that many seconds pass.
    void Pass(const std::string& seconds) const { Child(Tool({"-p", "nobody", "--for", seconds})).Finish(); }
};

TEST_F(Run, ReplaysWhatItKeptToTheSameEvents) {
    const Child server(Server());
    Child tool(Tool({"--format", "json", "--keep", m_place.At("capture")}));
    EXPECT_TRUE(tool.WaitForOutput("{\"cycle\":4,"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
    const ToolResult replay = RunTool({"replay", "-s", m_script, "--format", "json", m_place.At("capture")});
    EXPECT_EQ(replay.status, 0) << replay.error;
    std::vector<std::string> again = Lines(replay.output);
    std::vector<std::string> live = Lines(tool.Output());
    // The last line counts; how long a callback took differs.
    for (auto* const lines : {&again, &live}) lines->back().erase(lines->back().find("\"longestCallbackUs\""));
    EXPECT_EQ(again, live);
    EXPECT_THAT(live.front(), HasSubstr("\"call\":{\"key\":"));
    EXPECT_THAT(m_place.Read("capture/capture.json"), MatchesRegex("\\{\"version\":1,\"processes\":\\{\"" + m_name +
                                                                   "\":[0-9]+\\},\"since\":[0-9]+,\"start\":[0-9]+,"
                                                                   "\"clock_offset\":[0-9]+\\}\n"));
}

// Rings that are far too small for the rate.
TEST_F(Run, TellsWhatWasLostAndReplaysThat) {
    Child::Setup flood = Server();
    flood.command.back() = "20000";
    flood.environment["QX_RING_PAGE_SIZE"] = "512";
    flood.environment["QX_RING_PAGES"] = "4";
    const Child server(flood);
    const std::string capture = m_place.At("capture");
    Child tool(Tool({"--keep", capture, "--on-loss", "fail"}));
    EXPECT_TRUE(tool.WaitForError("warning: cycle 2, " + m_name + ", lost: overwritten "));
    EXPECT_TRUE(tool.WaitForError("warning: cycle 3, "));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 1);
    const std::string warnings = LinesWith("warning: ", tool.Error());
    EXPECT_EQ(LinesWith("warning: ", RunTool({"replay", "-s", m_script, capture}).error), warnings);
    // The numbers of the table add up.
    const std::vector<std::string> lines = Lines(tool.Error());
    const auto head = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("exits dropped  bytes not decoded  events in error  longest callback") != std::string::npos;
    });
    ASSERT_NE(head, lines.end());
    std::istringstream row(*std::next(head));
    std::string name;
    std::uint64_t recorded = 0, delivered = 0, open = 0, overwritten = 0, refused = 0, dropped = 0;
    row >> name >> recorded >> delivered >> open >> overwritten >> refused >> dropped;
    EXPECT_EQ(name, m_name);
    EXPECT_GT(delivered, 0u);
    EXPECT_GT(overwritten, delivered);
    EXPECT_EQ(recorded, delivered + open + overwritten + refused + dropped);
}

TEST_F(Run, LosesNothingOfAProgramThatItFollows) {
    const Child server(Server());
    Child tool(Tool({"--on-loss", "fail", "--format", "json"}));
    EXPECT_TRUE(tool.WaitForOutput("{\"cycle\":3,"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    EXPECT_EQ(LinesWith("\"loss\"", tool.Output()), "");
    EXPECT_THAT(Lines(tool.Output()).back(), StartsWith("{\"total\":{\"process\":\"" + m_name + "\",\"recorded\":"));
}

TEST_F(Run, SaysWhatItDoesAndCountsItsEvents) {
    const Child server(Server());
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForError("ready\n"));
    EXPECT_TRUE(tool.WaitForOutput("VOLUME"));
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
    // What the server did before may be told in between.
    EXPECT_THAT(tool.Error(), ContainsRegex("^tracking " + m_name +
                                            "\\[[0-9]+\\]\npriming, events come from the next cycle "
                                            "on\n([0-9]+ calls? from before[^\n]*\n)?ready\n"));
    const std::string count = std::to_string(Lines(tool.Output()).size());
    EXPECT_THAT(tool.Error(), ContainsRegex("\n" + count + " events? in [0-9]+ cycles\n  VOLUME  " + count + "\n$"));
    EXPECT_THAT(Lines(tool.Output()).front(),
                ContainsRegex("^[0-9-]+T[0-9:.]+Z  VOLUME +[0-9]+ +[0-9.]+ [a-z]+  " + m_name +
                              "\\[[0-9]+\\] +mixer +audio\\.SetVolume\\([0-9]+\\)$"));
}

TEST_F(Run, CountsTheEventsThatNeverFired) {
    const std::string never = R"(<event name="NEVER" tag="NONE" keyword="x"/><event name="A" tag="NONE" keyword="x"/>)";
    m_place.Write("v.xml", VolumeScript(never + kEveryVolume, m_name));
    const Child server(Server());
    Child tool(Tool({"--until", "VOLUME"}));
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Error(),
                ContainsRegex("\n[0-9]+ events? in 2 cycles\n  A       0\n  NEVER   0\n  VOLUME  [0-9]+\n$"));
    Child waiting(Tool({"-p", "nobody"}));
    EXPECT_TRUE(waiting.WaitForError("waiting for "));
    waiting.Signal(SIGINT);
    EXPECT_EQ(waiting.Finish(), 0);
    EXPECT_THAT(waiting.Error(), HasSubstr("0 events in 0 cycles\n  A       0\n  NEVER   0\n  VOLUME  0\n"));
}

TEST_F(Run, WaitsForTheProcess) {
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name + ", 0 s\n"));
    const Child server(Server());
    EXPECT_TRUE(tool.WaitForOutput("VOLUME"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
}

TEST_F(Run, CanBeInterruptedWhileItWaits) {
    for (const int number : {SIGINT, SIGTERM}) {
        Child tool(Tool({}));
        EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
        tool.Signal(number);
        EXPECT_EQ(tool.Finish(), 0);
        EXPECT_THAT(tool.Error(), HasSubstr("0 events in 0 cycles\n"));
    }
}

TEST_F(Run, CountsTheSecondsOfWaitingOnATerminal) {
    Child::Setup setup = Tool({});
    setup.terminal = true;
    Child tool(setup);
    EXPECT_TRUE(tool.WaitForOutput("waiting for " + m_name + ", 0 s"));
    sleep(2);  // on a busy machine not every second comes to be shown
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Output(), ContainsRegex("\r\033\\[Kwaiting for " + m_name + ", [1-9][0-9]* s"));
}

// Which is all that a person sees while nothing fires.
TEST_F(Run, ShowsOnATerminalThatItGoesOn) {
    m_place.Write("v.xml", VolumeScript(R"(<event name="NEVER" tag="NONE" keyword="x"/>)", m_name));
    const Child server(Server());
    Child::Setup setup = Tool({});
    setup.terminal = true;
    Child tool(setup);
    EXPECT_TRUE(tool.WaitForOutput(" per second, 0 events, 0 lost"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Output(),
                ContainsRegex("\r\033\\[Kcycle [0-9]+, [0-9]+ calls? per second, 0 events, 0 lost\r\033\\[K"));
}

TEST_F(Run, ShowsNothingOfThatWhenItIsToBeQuiet) {
    const Child server(Server());
    Child::Setup setup = Tool({"--quiet", "--for", "2s"});
    setup.terminal = true;
    Child tool(setup);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Output(), HasSubstr("VOLUME"));
    EXPECT_THAT(tool.Output(), Not(HasSubstr("cycle ")));
    EXPECT_THAT(tool.Output(), Not(HasSubstr("per second")));
}

TEST_F(Run, WatchesTheProcessesOfAllScriptsAndOptions) {
    const std::string other = m_place.Write("other.xml", VolumeScript("", m_name + "2"));
    Child tool(ToolSetup({"run", "-s", m_script, other, "-p", m_name + "3"}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name + ", " + m_name + "2, " + m_name + "3, 0 s\n"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
}

TEST_F(Run, EndsAfterItsTime) {
    const Child server(Server());
    Child tool(Tool({"--for", "1.5"}));
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Error(), ContainsRegex("events? in [0-9]+ cycle"));
}

TEST_F(Run, GivesUpWhenTheTimeIsOverAndNothingRuns) {
    Child tool(Tool({"--for", "0.1"}));
    EXPECT_EQ(tool.Finish(), 2);
    EXPECT_THAT(tool.Error(), HasSubstr("error: the time is over and " + m_name + " does not run; start it first\n"));
}

TEST_F(Run, TakesATimeThatNobodyLivesToSee) {
    Child tool(Tool({"--for", "1e300"}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
}

TEST_F(Run, GoesOnAfterAnEventWithoutAName) {
    m_place.Write("v.xml", VolumeScript(R"(<event tag="IN" value="0" type="INT" watch="ALWAYS"/>)", m_name));
    const Child server(Server());
    Child tool(Tool({"--format", "json"}));
    EXPECT_TRUE(tool.WaitForOutput("{\"cycle\":4,"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
}

TEST_F(Run, EndsWhenTheEventHasFired) {
    const Child server(Server());
    Child tool(Tool({"--until", "VOLUME"}));
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Error(), HasSubstr("in 2 cycles\n"));
    EXPECT_THAT(tool.Output(), Not(IsEmpty()));
}

TEST_F(Run, EndsQuietlyWhenTheReaderHasGone) {
    const Child server(Server());
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForOutput("VOLUME"));
    tool.CloseOutput();
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Error(), Not(HasSubstr("error:")));
}

// No line that cannot be written tells it that the reader has gone.
TEST_F(Run, EndsWhenTheReaderHasGoneThoughNothingIsToBeSaid) {
    Child tool(Tool({"-p", "nobody"}));
    EXPECT_TRUE(tool.WaitForError("waiting for "));
    tool.CloseOutput();
    EXPECT_EQ(tool.Finish(), 0);
}

// As a service may be started: the first file that is opened has the number of standard input then.
TEST_F(Run, NeedsNoStandardInput) {
    Child::Setup setup = Tool({"-p", "nobody"});
    setup.command.insert(setup.command.begin(), {"/bin/sh", "-c", "exec \"$@\" <&-", "sh"});
    Child tool(setup);
    EXPECT_TRUE(tool.WaitForError("waiting for "));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
}

TEST_F(Run, KeepsItsStatusWhenTheReaderHasGone) {
    m_place.Write("v.xml",
                  VolumeScript(kEveryVolume + std::string("<event name=\"BAD\" tag=\"IN\" value=\"x\"/>"), m_name));
    const Child server(Server());
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForError("event \"BAD\""));
    tool.CloseOutput();
    EXPECT_EQ(tool.Finish(), 1);
}

// The first signal lets the cycle end, which it cannot; the second one does not wait for that.
TEST_F(Run, EndsAtASecondSignalThoughNobodyReadsItsEvents) {
    Child::Setup fast = Server();
    fast.command.back() = "20000";
    const Child server(fast);
    Child tool(Tool({"--format", "json"}));
    EXPECT_TRUE(tool.WaitForOutput("{\"cycle\":2,"));
    Pass("2");
    tool.Signal(SIGINT);
    Pass("1");
    tool.Signal(SIGTERM);
    siginfo_t information;
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(tool.Pid()), &information, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(tool.Finish(), 1);
}

// As they come from a program that signals its child and then its group.
TEST_F(Run, TakesTwoSignalsAtOnceForOne) {
    const Child server(Server());
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForOutput("VOLUME"));
    tool.Signal(SIGINT);
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Error(), ContainsRegex("process +recorded"));
}

// The explanation does not fit into the pipe.
TEST_F(Run, CanBeInterruptedWhileItPrintsItsResults) {
    std::string events = kEveryVolume;
    for (int i = 0; i < 100; ++i) events += "<event name=\"E" + std::to_string(i) + "\" tag=\"NONE\" keyword=\"x\"/>\n";
    m_place.Write("v.xml", VolumeScript(events, m_name));
    Child::Setup setup = Tool({"--explain", "--until", "VOLUME", "--format", "json"});
    setup.output = m_place.At("pipe");
    ASSERT_EQ(mkfifo(setup.output.c_str(), 0600), 0);
    const int pipe = open(setup.output.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(fcntl(pipe, F_SETPIPE_SZ, 4096), 4096);
    const Child server(Server());
    Child tool(setup);
    EXPECT_TRUE(tool.WaitForError("ready\n"));
    // Where the program is slow the first signal ends the tracking, and the next one the printing.
    siginfo_t information = {};
    for (int tries = 0; tries < 5 && information.si_pid == 0; ++tries) {
        Pass("1");
        tool.Signal(SIGINT);
        Pass("0.2");
        EXPECT_EQ(waitid(P_PID, static_cast<id_t>(tool.Pid()), &information, WEXITED | WNOWAIT | WNOHANG), 0);
    }
    ASSERT_NE(information.si_pid, 0);
    EXPECT_EQ(tool.Finish(), 1);
    close(pipe);
}

TEST_F(Run, ExplainsAtItsEnd) {
    const Child server(Server());
    Child tool(Tool({"--explain", "--until", "VOLUME"}));
    EXPECT_EQ(tool.Finish(), 0);
    const std::vector<std::string> lines = Lines(tool.Output());
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[lines.size() - 2],
              "event     calls   method    value   filter  keyword  condition     edge    fired   errors  place");
    EXPECT_THAT(lines.back(), ContainsRegex("^VOLUME .* " + m_script + ":4$"));
}

TEST_F(Run, TellsOnceThatKeepingFailedAndGoesOn) {
    const Child server(Server());
    Child tool(Tool({"--keep", m_place.At("capture"), "--format", "json"}));
    EXPECT_TRUE(tool.WaitForOutput("{\"cycle\":2,"));
    fs::rename(m_place.At("capture"), m_place.At("gone"));
    EXPECT_TRUE(tool.WaitForError("No such file or directory; the capture ends before cycle "));
    const std::size_t events = Lines(tool.Output()).size();
    EXPECT_TRUE(tool.WaitForOutput("{\"cycle\":5,")) << events;
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 1);
    const std::size_t first = tool.Error().find("error: ");
    EXPECT_EQ(tool.Error().find("error: ", first + 1), std::string::npos) << tool.Error();
}

TEST_F(Run, DoesNotStartWithoutAPlaceToKeep) {
    m_place.Write("full/x", "");
    const std::vector<std::pair<std::string, std::string>> bad = {{m_place.At("full"), "is not empty"},
                                                                  {m_place.At("full/x"), "Not a directory"},
                                                                  {"/proc/none", "No such file or directory"}};
    for (const auto& [path, reason] : bad) {
        Child tool(Tool({"--keep", path}));
        EXPECT_EQ(tool.Finish(), 2);
        EXPECT_EQ(tool.Error(), "error: " + path + ": " + reason + "; name a new directory that can be written\n");
    }
}

TEST_F(Run, DoesNotStartWithoutWhatItNeeds) {
    const std::string nobody = m_place.Write("n.xml", "<Scenario><action/></Scenario>");
    const std::string broken = m_place.Write("b.xml", "<Scenario>");
    const std::vector<std::tuple<std::vector<std::string>, int, std::string>> rows = {
        {{"run", "-s", nobody}, 2, "error: no process is to be watched; name one with -p"},
        {{"run", "-s", m_place.At("none")}, 2, "error: " + m_place.At("none") + ": No such file"},
        {{"run", "-s", broken}, 1, "error: " + broken + ":1:11: not well-formed"},
        {{"run", "-s", m_script, "--until", "VOLUM"},
         2,
         "error: --until VOLUM: the scripts have no event of that name; did"},
        {{"run", "-s", m_script, "--explain=X"}, 2, "error: --explain=X: the scripts have no event of that name"}};
    for (const auto& [arguments, status, said] : rows) {
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.status, status) << said;
        EXPECT_THAT(result.error, StartsWith(said));
        EXPECT_EQ(result.output, "");
    }
}

TEST_F(Run, PrintsTheLibrarysDiagnosticsWhenAsked) {
    const Child server(Server());
    Child tool(Tool({"--level", "info"}));
    EXPECT_TRUE(tool.WaitForError("getQxBufferDump END !! Process[" + m_name + "]"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
}

}  // namespace
#endif
