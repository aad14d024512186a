// What `qxlt run` makes of processes that come and go, of calls from before it, and of those that nobody can read; and
// that a replay of what it kept prints the same.
#ifdef QX_TRACED
#include <gmock/gmock.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "Child.h"
#include "NamedProcess.h"
#include "TracedProgram.h"
#include "Workplace.h"

namespace {

namespace fs = std::filesystem;

using testing::AllOf;
using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char kForTheLast[] = R"(<event name="LAST" tag="IN" value="1" type="INT" keyword="4" watch="ALWAYS"/>)";

// A scenario with an event for each call of Count, whose value is the call's number.
std::string CountScript(const std::string& process) {
    return "<Scenario><action name=\"count\" process=\"" + process +
           "\"><method name=\"Count\"/><event name=\"COUNT\" tag=\"IN\" value=\"1\" type=\"INT\" watch=\"ALWAYS\"/>" +
           kForTheLast + "</action></Scenario>";
}

std::vector<std::string> LinesWith(const std::string& part, const std::string& text) {
    std::vector<std::string> found;
    for (const std::string& line : Lines(text)) {
        if (line.find(part) != std::string::npos) found.push_back(line);
    }
    return found;
}

std::vector<std::string> EventsIn(const std::string& output) {
    return LinesWith("\"event\":\"COUNT\"", output);
}

std::string MadeBy(pid_t pid) {
    return "\"process_id\":" + std::to_string(pid) + ",\"thread\":";
}

std::string News(const std::string& process, pid_t pid, const std::string& state) {
    return "\"lifecycle\":{\"process\":\"" + process + "\",\"process_id\":" + std::to_string(pid) + ",\"state\":\"" +
           state + "\"";
}

class RunProcesses : public testing::Test {
protected:
    RunProcesses() {
        setenv("QX_RUNTIME_DIR", m_place.At("recordings").c_str(), 1);
        m_place.Write("v.xml", CountScript(m_name));
    }
    ~RunProcesses() override { unsetenv("QX_RUNTIME_DIR"); }

    Child::Setup Tool(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"run", "-s", m_place.At("v.xml"), "--pause", "fast", "--format", "json",
                                             "--explain", "--keep", m_place.At("capture")});
        return ToolSetup(arguments);
    }

    // Ends the run, and replays what it kept.
    void Finish(Child& tool, int status = 0) const {
        tool.Signal(SIGINT);
        ExpectEnd(tool, status);
    }

    void ExpectEnd(Child& tool, int status, const std::vector<std::string>& replayToo = {}) const {
        EXPECT_EQ(tool.Finish(), status) << tool.Error();
        std::vector<std::string> replay = {"replay", "-s",        m_place.At("v.xml"),  "--format",
                                           "json",   "--explain", m_place.At("capture")};
        replay.insert(replay.end(), replayToo.begin(), replayToo.end());
        const ToolResult replayed = RunTool(replay);
        EXPECT_EQ(replayed.status, 0) << replayed.error;
        EXPECT_EQ(WithoutDurations(tool.Output()), WithoutDurations(replayed.output)) << tool.Error();
    }

    // How long a callback took differs from run to run.
    static std::vector<std::string> WithoutDurations(const std::string& output) {
        std::vector<std::string> lines = Lines(output);
        for (std::string& line : lines) {
            const std::size_t at = line.find("\"longestCallbackUs\":");
            if (at != std::string::npos) line.erase(at, line.find(',', at) - at);
        }
        return lines;
    }

    const Workplace m_place;
    const std::string m_name = NamedProcess::UniqueName("a");
};

// The one call is in the dump of the cycle that primes, and no dump follows. The program's first call of Count comes
// with one of Try.
TEST_F(RunProcesses, EvaluatesTheOnlyCallOfAProgramThatIdlesThen) {
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
    const TracedProgram program(m_name, 1, 1, 0);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT\""));
    Finish(tool);
    EXPECT_THAT(EventsIn(tool.Output()),
                ElementsAre(AllOf(HasSubstr("{\"cycle\":2,"), HasSubstr(MadeBy(program.Pid())))));
    EXPECT_THAT(tool.Output(), HasSubstr("\"explained\":\"COUNT\""));
    EXPECT_THAT(tool.Output(), HasSubstr("\"calls\":2,\"method\":1,"));
    EXPECT_THAT(tool.Output(), HasSubstr("\"recorded\":2,\"delivered\":2,"));
}

// Less than a cycle takes.
TEST_F(RunProcesses, EvaluatesWhatWasCalledBeforeAShortRunEnds) {
    Child tool(Tool({"--for", "900ms"}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
    const TracedProgram program(m_name, 1, 5, 0);
    ExpectEnd(tool, 0);
    EXPECT_THAT(EventsIn(tool.Output()), SizeIs(5));
}

TEST_F(RunProcesses, FetchesWhatCameSinceTheLastDump) {
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
    TracedProgram program(m_name, 1, 200, 10000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT\""));
    program.WaitUntilDone();
    Finish(tool);
    EXPECT_THAT(EventsIn(tool.Output()), SizeIs(200));
}

TEST_F(RunProcesses, EvaluatesAProgramThatLivesWhileAnotherIsWaitedFor) {
    const std::string other = NamedProcess::UniqueName("b");
    Child tool(Tool({"-p", other}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name + ", " + other));
    pid_t pid = 0;
    {
        TracedProgram program(m_name, 1, 12, 10000);
        pid = program.Pid();
        program.WaitUntilDone();
        EXPECT_TRUE(tool.WaitForError("waiting for " + other));
    }
    const TracedProgram second(other, 1, 1, 0);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT\""));
    Finish(tool);
    std::vector<std::string> events = EventsIn(tool.Output());
    EXPECT_THAT(events, SizeIs(13));
    EXPECT_THAT(LinesWith(MadeBy(pid), tool.Output()), SizeIs(testing::Ge(12u)));
    EXPECT_THAT(tool.Output(), HasSubstr(News(m_name, pid, "ended")));
}

TEST_F(RunProcesses, FollowsAProgramThatIsStartedAnew) {
    auto program = std::make_unique<TracedProgram>(m_name, 1, 0, 20000);
    const pid_t first = program->Pid();
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForOutput(MadeBy(first)));
    EXPECT_THAT(tool.Error(), HasSubstr("tracking " + m_name + "[" + std::to_string(first) + "]\n"));
    program.reset();
    EXPECT_TRUE(tool.WaitForOutput(News(m_name, first, "ended")));
    program = std::make_unique<TracedProgram>(m_name, 1, 0, 20000);
    EXPECT_TRUE(tool.WaitForOutput(News(m_name, program->Pid(), "restarted")));
    EXPECT_TRUE(tool.WaitForOutput(MadeBy(program->Pid())));
    Finish(tool);
    const ToolResult replay = RunTool({"replay", "-s", m_place.At("v.xml"), m_place.At("capture")});
    EXPECT_THAT(replay.error, ContainsRegex("cycle [0-9]+, " + m_name + "\\[" + std::to_string(program->Pid()) +
                                            "\\] has started anew\n"));
    EXPECT_THAT(replay.output,
                ContainsRegex(m_name + "\\[" + std::to_string(program->Pid()) + "\\] +[^ ]+ +test\\.Count\\("));
}

TEST_F(RunProcesses, TracksAllOfAName) {
    const TracedProgram first(m_name, 1, 0, 20000);
    const TracedProgram second(m_name, 1, 0, 20000);
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForOutput(MadeBy(first.Pid())));
    EXPECT_TRUE(tool.WaitForOutput(MadeBy(second.Pid())));
    EXPECT_THAT(tool.Error(), ContainsRegex("tracking " + m_name + "\\[[0-9]+\\], " + m_name + "\\[[0-9]+\\]\n"));
    const TracedProgram third(m_name, 1, 0, 20000);
    EXPECT_TRUE(tool.WaitForOutput(News(m_name, third.Pid(), "started")));
    EXPECT_TRUE(tool.WaitForOutput(MadeBy(third.Pid())));
    Finish(tool);
    EXPECT_THAT(tool.Output(), Not(HasSubstr(News(m_name, second.Pid(), "started"))));
}

// What a program of that name recorded before it ended, too.
TEST_F(RunProcesses, PassesOverWhatWasCalledBefore) {
    TracedProgram(m_name, 1, 3, 0).WaitUntilDone();
    TracedProgram program(m_name, 1, 5, 0);
    program.WaitUntilDone();
    Child tool(Tool({"--until", "LAST", "--for", "2500ms"}));
    ExpectEnd(tool, 0, {"--until", "LAST"});
    EXPECT_THAT(EventsIn(tool.Output()), IsEmpty());
    EXPECT_THAT(tool.Output(), AllOf(HasSubstr("\"recorded\":0,\"delivered\":0,"), HasSubstr("\"history\":6}}")));
    EXPECT_THAT(tool.Output(), HasSubstr("\"calls\":0,\"method\":0,"));
    EXPECT_THAT(tool.Error(), HasSubstr("6 calls from before the start raised no events; --history evaluates them\n"));
    EXPECT_THAT(m_place.Read("capture/capture.json"), HasSubstr(",\"since\":"));
}

TEST_F(RunProcesses, EvaluatesWhatWasCalledBeforeWhenAsked) {
    TracedProgram program(m_name, 1, 5, 0);
    program.WaitUntilDone();
    Child tool(Tool({"--history", "--until", "LAST"}));
    ExpectEnd(tool, 0, {"--until", "LAST"});
    EXPECT_THAT(EventsIn(tool.Output()), SizeIs(5));
    EXPECT_THAT(tool.Output(), HasSubstr("\"recorded\":6,\"delivered\":6,"));
    EXPECT_THAT(m_place.Read("capture/capture.json"), Not(HasSubstr("since")));
}

TEST_F(RunProcesses, PrintsNothingAfterTheEventThatEndsIt) {
    Child tool(Tool({"--until", "LAST"}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
    const TracedProgram program(m_name, 1, 50, 0);
    ExpectEnd(tool, 0, {"--until", "LAST"});
    EXPECT_THAT(EventsIn(tool.Output()), SizeIs(5));
    EXPECT_THAT(LinesWith("\"event\":\"LAST\"", tool.Output()), SizeIs(1));
}

TEST_F(RunProcesses, TakesNoShorterNameForTheOneAskedFor) {
    const TracedProgram program(m_name, 1, 0, 20000);
    m_place.Write("v.xml", CountScript(m_name + "q"));
    Child tool(Tool({"--for", "0.5"}));
    EXPECT_EQ(tool.Finish(), 2);
    EXPECT_THAT(tool.Error(), HasSubstr(m_name + "q does not run; " + m_name + " does\n"));
    EXPECT_THAT(tool.Error(), HasSubstr("error: the time is over and " + m_name + "q does not run; start it first\n"));
    EXPECT_EQ(tool.Output(), "");
}

TEST_F(RunProcesses, TracksTheRightOneOfTwoWhoseNamesBeginAlike) {
    const TracedProgram shorter(m_name, 1, 0, 20000);
    const TracedProgram longer(m_name + "q", 1, 0, 20000);
    m_place.Write("v.xml", CountScript(m_name + "q"));
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT\""));
    Finish(tool);
    EXPECT_THAT(EventsIn(tool.Output()), Each(HasSubstr(MadeBy(longer.Pid()))));
    const auto pid = static_cast<unsigned short>(longer.Pid());
    EXPECT_THAT(m_place.Read("capture/capture.json"), HasSubstr("\"" + m_name + "q\":" + std::to_string(pid)));
}

TEST_F(RunProcesses, FindsANameThatTheSystemHasCut) {
    const std::string name = m_name + "-and-much-more";
    const TracedProgram program(name, 1, 0, 20000);
    m_place.Write("v.xml", CountScript(name));
    Child tool(Tool({}));
    EXPECT_TRUE(tool.WaitForOutput(MadeBy(program.Pid())));
    Finish(tool);
}

TEST_F(RunProcesses, SaysThatAProgramDoesNotRecord) {
    const NamedProcess program(m_name);
    Child tool(Tool({"--for", "2500ms"}));
    ExpectEnd(tool, 1);
    // Once, and not in the cycles that follow.
    EXPECT_THAT(LinesWith("not ready", tool.Error()),
                ElementsAre("warning: not ready: nothing that is tracked can be read"));
    EXPECT_THAT(tool.Error(), Not(HasSubstr("\nready\n")));
    EXPECT_THAT(tool.Error(), HasSubstr("error: nothing could be read of " + m_name + "; no call was seen\n"));
    EXPECT_THAT(LinesWith(News(m_name, program.Pid(), "unreadable"), tool.Output()),
                ElementsAre(HasSubstr(",\"reason\":\"it has not loaded the recorder")));
}

TEST_F(RunProcesses, SaysThatAProgramRecordsElsewhere) {
    setenv("QX_RUNTIME_DIR", m_place.At("elsewhere").c_str(), 1);
    const TracedProgram program(m_name, 1, 0, 20000);
    setenv("QX_RUNTIME_DIR", m_place.At("recordings").c_str(), 1);
    Child tool(Tool({"--for", "2500ms"}));
    ExpectEnd(tool, 1);
    EXPECT_THAT(tool.Output(), HasSubstr(News(m_name, program.Pid(), "unreadable")));
    EXPECT_THAT(tool.Output(), HasSubstr(m_place.At("elsewhere")));
}

// One that can be read is enough.
TEST_F(RunProcesses, GoesOnWithWhatCanBeRead) {
    const TracedProgram program(m_name, 1, 0, 20000);
    const NamedProcess silent(NamedProcess::UniqueName("s"));
    Child tool(Tool({"-p", silent.Name()}));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT\""));
    EXPECT_TRUE(tool.WaitForError("ready\n"));
    Finish(tool);
    EXPECT_THAT(tool.Output(), HasSubstr(News(silent.Name(), silent.Pid(), "unreadable")));
}

#ifdef QXLT_MEDIA_SERVER
TEST_F(RunProcesses, SaysThatAProgramRunsAsAnotherUser) {
    const std::string setpriv = "/usr/bin/setpriv";
    if (geteuid() != 0 || !fs::exists(setpriv)) GTEST_SKIP() << "needs root and setpriv";
    fs::permissions(m_place.Path(), fs::perms::all);
    const std::string name = m_place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
    Child::Setup setup;
    setup.command = {setpriv, "--reuid=65534", "--regid=65534", "--clear-groups", m_place.At(name), "--rate", "100"};
    setup.environment = {{"QX_RUNTIME_DIR", m_place.At("of-nobody")}};
    const Child server(setup);
    m_place.Write("v.xml", VolumeScript(kEveryVolume, name));
    Child tool(Tool({"--for", "2500ms"}));
    ExpectEnd(tool, 1);
    EXPECT_THAT(tool.Output(), ContainsRegex("\"process_id\":[0-9]+,\"state\":\"unreadable\",\"reason\":\".*65534"));
}
#endif

TEST_F(RunProcesses, RefusesAProcessWithoutAName) {
    const ToolResult result = RunTool({"run", "-s", m_place.At("v.xml"), "-p", ""});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, HasSubstr("the process has no name"));
}

TEST_F(RunProcesses, RefusesATimeThatIsNone) {
    for (const char* const time : {"0", "-1s", "soon", "10 s", ""}) {
        const ToolResult result = RunTool({"run", "-s", m_place.At("v.xml"), "--for", time});
        EXPECT_EQ(result.status, 2) << time;
        EXPECT_THAT(result.error, HasSubstr("is no time above 0; write seconds, or 20us, 500ms, 10s, 2m, 1h")) << time;
    }
}

}  // namespace
#endif
