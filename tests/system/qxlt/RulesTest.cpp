// `qxlt run` while its scenarios are changed: what takes over, what stays, and that no call is lost or seen twice.
#ifdef QX_TRACED
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <thread>

#include "Child.h"
#include "Json.h"
#include "NamedProcess.h"
#include "TracedProgram.h"
#include "Workplace.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// An event for each call of Count, whose value is the call's number.
std::string Counting(const std::string& event) {
    return "<event name=\"" + event + R"(" tag="IN" value="1" type="INT" watch="ALWAYS"/>)";
}

std::string Action(const std::string& process, const std::string& events, const std::string& name = "count") {
    return "<action name=\"" + name + "\" process=\"" + process + "\"><method name=\"Count\"/>" + events + "</action>";
}

// Has a process watched.
std::string Idle(const std::string& process) {
    return "<action name=\"idle\" process=\"" + process +
           R"("><method name="Nothing"/><event name="NOTHING" watch="ALWAYS"/></action>)";
}

std::string Scenario(const std::string& actions) {
    return "<Scenario>\n" + actions + "\n</Scenario>\n";
}

// Not of int: the test framework, which no sanitizer was built into, grows vectors of those itself, and the two would
// not agree on what their ends are.
using Numbers = std::vector<std::int64_t>;

// The values of the events of a process, in order; of all events whose name begins so.
Numbers Values(const std::string& output, const std::string& event, const std::string& process) {
    Numbers values;
    for (const std::string& line : Lines(output)) {
        const qxlt::JsonObject json = qxlt::ParseJson("line", line);
        if (!json.contains("event") || json["event"].get<std::string>().rfind(event, 0) != 0) continue;
        if (json["call"]["process"] == process) values.push_back(std::stoll(json["value"].get<std::string>()));
    }
    return values;
}

Numbers UpTo(std::int64_t count) {
    Numbers numbers;
    for (std::int64_t i = 0; i < count; ++i) numbers.push_back(i);
    return numbers;
}

std::size_t CountOf(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

class Rules : public testing::Test {
protected:
    Rules() {
        setenv("QX_RUNTIME_DIR", m_place.At("recordings").c_str(), 1);
        Write(Counting("COUNT_A"));
    }
    ~Rules() override { unsetenv("QX_RUNTIME_DIR"); }

    void Write(const std::string& events) const { WriteWhole(Scenario(Action(m_name, events))); }
    void WriteWhole(const std::string& text) const { m_place.Write("v.xml", text); }

    // As an editor does that keeps the old one until the new one is whole.
    void Replace(const std::string& events) const {
        m_place.Write("v.xml.new", Scenario(Action(m_name, events)));
        fs::rename(m_place.At("v.xml.new"), m_place.At("v.xml"));
    }

    Child::Setup Tool(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"run", "-s", m_place.At("v.xml"), "--pause", "fast", "--format", "json"});
        return ToolSetup(arguments);
    }

    static void Finish(Child& tool) {
        tool.Signal(SIGINT);
        EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    }

    const Workplace m_place;
    const std::string m_name = NamedProcess::UniqueName("a");
};

TEST_F(Rules, ChangeBetweenTwoCyclesWithoutACallLostOrSeenTwice) {
    Child tool(Tool({"--watch"}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
    const TracedProgram program(m_name, 1, 0, 1000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
    Replace(Counting("COUNT_B"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_B\""));
    Write(Counting("COUNT_C"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_C\""));
    Write(Counting("COUNT_A"));
    EXPECT_TRUE(tool.WaitForOutput("\"forgotten\":[\"COUNT_C\"]"));
    Finish(tool);
    const Numbers values = Values(tool.Output(), "COUNT_", m_name);
    EXPECT_EQ(values, UpTo(static_cast<std::int64_t>(values.size())));
    // From the start on, and each time; the first rules are the last ones.
    std::vector<std::string> hashes;
    for (const std::string& line : Lines(tool.Output())) {
        const qxlt::JsonObject json = qxlt::ParseJson("line", line);
        if (json.contains("rules")) hashes.push_back(json["rules"].get<std::string>());
    }
    ASSERT_THAT(hashes, SizeIs(4));
    EXPECT_EQ(hashes.front(), hashes.back());
    for (const std::string& hash : hashes) {
        EXPECT_THAT(tool.Error(), HasSubstr("rules " + hash + " (1 script, 1 event) take over with cycle "));
    }
}

TEST_F(Rules, AreRefusedOnceForEachChangeAndTheLastGoodOnesStay) {
    Child tool(Tool({"--watch"}));
    const TracedProgram program(m_name, 1, 0, 5000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
    const std::string refused = "the changed scripts are refused; rules ";
    const std::string half = "<Scenario>\n<action name=\"count\"";
    WriteWhole(half);
    EXPECT_TRUE(tool.WaitForError(refused));
    EXPECT_THAT(tool.Error(), HasSubstr("error: " + m_place.At("v.xml") + ":2:1: not well-formed"));
    WriteWhole(half);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    Write(R"(<event name="COUNT_B" tag="IN" value="one" type="INT" watch="ALWAYS"/>)");
    EXPECT_TRUE(tool.WaitForError("\"one\""));
    fs::remove(m_place.At("v.xml"));
    EXPECT_TRUE(tool.WaitForError("v.xml: No such file or directory"));
    WriteWhole(
        R"(<Scenario><action name="a"><method name="Count"/><event name="E" watch="ALWAYS"/></action></Scenario>)");
    EXPECT_TRUE(tool.WaitForError("the changed scripts name no process to be watched"));
    Write(Counting("COUNT_C"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_C\""));
    Finish(tool);
    EXPECT_EQ(CountOf("not well-formed", tool.Error()), 1U);
    EXPECT_EQ(CountOf(refused, tool.Error()), 4U) << tool.Error();
    EXPECT_THAT(tool.Output(), Not(HasSubstr("COUNT_B")));
    const Numbers values = Values(tool.Output(), "COUNT_", m_name);
    Numbers whole = UpTo(static_cast<std::int64_t>(values.size()));
    for (std::int64_t& value : whole) value += values.front();
    EXPECT_EQ(values, whole);
}

// A signal needs no --watch.
TEST_F(Rules, AreReadAgainOnAHangupSignal) {
    Child tool(Tool({}));
    const TracedProgram program(m_name, 1, 0, 5000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
    EXPECT_THAT(tool.Output(), Not(HasSubstr("\"rules\"")));
    tool.Signal(SIGHUP);
    EXPECT_TRUE(tool.WaitForError("the scripts are as before, rules "));
    Write(Counting("COUNT_B"));
    tool.Signal(SIGHUP);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_B\""));
    Finish(tool);
    EXPECT_THAT(tool.Output(), HasSubstr("\"scripts\":1,\"events\":1,\"forgotten\":[\"COUNT_A\"]}"));
}

// A run takes what it is given at its start.
TEST_F(Rules, AreNotRefusedForWhatTheRunBeganWith) {
    const std::string faulty = R"(<event name="FAULTY" tag="IN" value="one" type="INT" watch="ALWAYS"/>)";
    Write(Counting("COUNT_A") + faulty);
    Child tool(Tool({"--watch"}));
    const TracedProgram program(m_name, 1, 0, 5000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
    tool.Signal(SIGHUP);
    EXPECT_TRUE(tool.WaitForError("the scripts are as before, rules "));
    Write(Counting("COUNT_B") + faulty);
    EXPECT_TRUE(tool.WaitForError("the changed scripts are refused; "));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 1) << "an event in error";
    EXPECT_EQ(CountOf("are refused", tool.Error()), 1U);
}

// The thread is the same in all calls: its first one fires, and no other.
TEST_F(Rules, KeepWhatIsRememberedOfEventsThatStayTheSame) {
    const auto thread = [](const std::string& name, const std::string& more) {
        return "<event name=\"" + name + R"(" tag="IN" value="0" type="INT" watch="CHANGED" )" + more + "/>";
    };
    const auto above = [](const std::string& limit) {
        return R"(<event name="ABOVE" tag="IN" value="1" type="INT" watch="D-CONDITIONAL" condition="&gt;" )"
               "conditionValue=\"" +
               limit + "\"/>";
    };
    Write(thread("SAME", "") + thread("OTHER", "") + above("-1"));
    Child tool(Tool({"--watch"}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name));
    const TracedProgram program(m_name, 1, 0, 5000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"ABOVE\""));
    WriteWhole(
        Scenario("<!-- moved -->\n\n" + Action(m_name, above("-1") + Counting("COUNT_B") +
                                                           thread("OTHER", "keyword=\"0\"") + thread("SAME", ""))));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_B\""));
    Write(thread("SAME", "") + above("-2") + Counting("COUNT_C"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_C\""));
    Write(thread("SAME", "") + thread("OTHER", "keyword=\"0\"") + above("-2") + Counting("COUNT_D"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_D\""));
    Finish(tool);
    EXPECT_EQ(CountOf("\"event\":\"SAME\"", tool.Output()), 1U);
    EXPECT_EQ(CountOf("\"event\":\"OTHER\"", tool.Output()), 3U) << "changed; gone and there again";
    EXPECT_EQ(CountOf("\"event\":\"ABOVE\"", tool.Output()), 2U);
}

// The calls of a process from before it was named are nobody's, but with --history; and those while it was not.
TEST_F(Rules, FollowTheProcessesThatTheyName) {
    const std::string other = NamedProcess::UniqueName("b");
    const std::string own = Action(m_name, Counting("COUNT_A"));
    const TracedProgram program(m_name, 1, 0, 20000);
    for (const bool history : {false, true}) {
        const TracedProgram second(other, 1, 0, 5000);
        WriteWhole(Scenario(own));
        const std::string capture = m_place.At(history ? "with" : "without");
        std::vector<std::string> options = {"--watch", "--keep", capture};
        if (history) options.emplace_back("--history");
        Child tool(Tool(options));
        EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
        WriteWhole(Scenario(own + Idle(other)));
        EXPECT_TRUE(tool.WaitForError("tracking " + other + "["));
        EXPECT_TRUE(tool.WaitForOutput("\"process\":\"" + other + "\""));
        WriteWhole(Scenario(own));
        EXPECT_TRUE(tool.WaitForError(other + " is tracked no longer\n"));
        WriteWhole(Scenario(own + "\n" + Idle(other) + Action(m_name, Counting("AGAIN"), "again")));
        EXPECT_TRUE(tool.WaitForOutput("\"event\":\"AGAIN\""));
        Finish(tool);
        const Numbers values = Values(tool.Output(), "COUNT_A", other);
        ASSERT_THAT(values, Not(IsEmpty()));
        int gaps = 0;
        for (std::size_t i = 1; i < values.size(); ++i) {
            ASSERT_LT(values[i - 1], values[i]) << "a call was seen twice";
            if (values[i - 1] + 1 != values[i]) ++gaps;
        }
        EXPECT_EQ(gaps, 1) << history;
        EXPECT_EQ(values.front() == 0, history);
        EXPECT_THAT(tool.Output(), Not(HasSubstr("\"loss\""))) << "what was gone before it was named is no loss";
        const ToolResult replay = RunTool({"replay", "-s", m_place.At("v.xml"), "--format", "json", capture});
        EXPECT_EQ(Values(replay.output, "COUNT_A", other), values) << replay.error;
    }
}

TEST_F(Rules, WaitForAProcessWithoutHoldingUpTheOthers) {
    const std::string other = NamedProcess::UniqueName("b");
    Child tool(Tool({"--watch"}));
    const TracedProgram program(m_name, 1, 0, 5000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
    WriteWhole(Scenario(Action(m_name, Counting("COUNT_B")) + Idle(other)));
    EXPECT_TRUE(tool.WaitForError("waiting for " + other + "\n"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_B\""));
    TracedProgram second(other, 1, 20, 1000);
    second.WaitUntilDone();
    // It is named as before, and has been since then.
    WriteWhole(Scenario(Action(m_name, Counting("COUNT_B") + Counting("AGAIN")) + Idle(other)));
    tool.Signal(SIGHUP);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"AGAIN\""));
    EXPECT_TRUE(tool.WaitForError("tracking " + other + "[" + std::to_string(second.Pid()) + "]\n"));
    EXPECT_TRUE(tool.WaitForOutput("\"process\":\"" + other + "\""));
    Finish(tool);
    EXPECT_EQ(Values(tool.Output(), "COUNT_B", other), UpTo(20)) << "it was waited for when it called";
}

// A name that is mistyped is mended while it is waited for.
TEST_F(Rules, ChangeBeforeTheProcessesWereFound) {
    WriteWhole(Scenario(Action(m_name + "q", Counting("COUNT_B"))));
    const TracedProgram program(m_name, 1, 0, 5000);
    Child tool(Tool({"--watch"}));
    EXPECT_TRUE(tool.WaitForError("waiting for " + m_name + "q"));
    Write(Counting("COUNT_A"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
    Finish(tool);
    EXPECT_THAT(tool.Error(), HasSubstr("(1 script, 1 event) take over with cycle 1; "));
}

TEST_F(Rules, StandBesideThoseOfCall) {
    Child tool(Tool({"--watch", "--call", "te?t.Cou*", "--where", "in.1 > -1", "--where", "in.7 > 1"}));
    const TracedProgram program(m_name, 1, 0, 5000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
    Replace(Counting("COUNT_B"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_B\""));
    Finish(tool);
    const std::string first = "\"event\":\"te?t.Cou*";
    const std::string output = tool.Output();
    const std::size_t called = CountOf(first, output);
    EXPECT_EQ(called, CountOf("\"event\":\"COUNT_", output)) << output.substr(0, 2000);
    EXPECT_EQ(CountOf("test.Count has no in.7", tool.Error()), 1U)
        << "what was told is not told again: " << tool.Error();
}

TEST_F(Rules, SayWhichAskedForEventsTheyNoLongerHave) {
    Write(Counting("COUNT_A") + R"(<event name="NEVER" tag="IN" value="1" keyword="x" watch="ALWAYS"/>)");
    Child tool(Tool({"--watch", "--until", "NEVER", "--explain=COUNT_A"}));
    const TracedProgram program(m_name, 1, 0, 5000);
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_A\""));
    Write(Counting("COUNT_B"));
    EXPECT_TRUE(tool.WaitForError("warning: --until NEVER: the changed scripts have no event of that name"));
    EXPECT_TRUE(tool.WaitForError("warning: --explain=COUNT_A: the changed scripts have no event of that name"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"COUNT_B\""));
    Finish(tool);
    EXPECT_EQ(CountOf("\"explained\":\"COUNT_A\"", tool.Output()), 1U) << "when its rules ended";
}

TEST_F(Rules, AreWatchedOnlyWhereThereAreScripts) {
    const ToolResult result = RunTool({"run", "-p", m_name, "--call", "Count", "--watch"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, HasSubstr("--watch reads changed scripts again; name one with -s"));
}

// A program with a terminal of its own, and with output in files.
class OnTerminal final {
public:
    OnTerminal(const Workplace& place, const std::vector<std::string>& arguments, bool isIgnored) {
        std::vector<std::string> command = ToolSetup(arguments).command;
        m_pid = forkpty(&m_terminal, nullptr, nullptr, nullptr);
        if (m_pid != 0) return;
        if (isIgnored) signal(SIGHUP, SIG_IGN);
        dup2(open(place.At("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
        dup2(open(place.At("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        std::vector<char*> words;
        for (std::string& word : command) words.push_back(word.data());
        words.push_back(nullptr);
        execv(words[0], words.data());
        _exit(127);
    }
    OnTerminal(const OnTerminal&) = delete;
    OnTerminal& operator=(const OnTerminal&) = delete;
    ~OnTerminal() {
        if (m_pid > 0) kill(m_pid, SIGKILL);
        if (m_pid > 0) waitpid(m_pid, nullptr, 0);
        HangUp();
    }

    void HangUp() {
        if (m_terminal >= 0) close(std::exchange(m_terminal, -1));
    }
    void Signal(int number) const { kill(m_pid, number); }

    // The exit status; 128 and the number for a signal.
    int Finish() {
        int status = 0;
        waitpid(std::exchange(m_pid, -1), &status, 0);
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }

private:
    int m_terminal = -1;
    pid_t m_pid = -1;
};

class RulesOnTerminal : public Rules {
protected:
    bool WaitForError(const std::string& text, std::size_t times = 1) const {
        for (int tries = 0; tries < 3000; ++tries) {
            if (fs::exists(m_place.At("err")) && CountOf(text, m_place.Read("err")) >= times) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    std::vector<std::string> Arguments() const { return {"run", "-s", m_place.At("v.xml"), "--pause", "fast"}; }
};

TEST_F(RulesOnTerminal, AreReadAgainUntilTheTerminalHangsUp) {
    const TracedProgram program(m_name, 1, 0, 5000);
    OnTerminal tool(m_place, Arguments(), false);
    ASSERT_TRUE(WaitForError("\nready\n"));
    tool.Signal(SIGHUP);
    ASSERT_TRUE(WaitForError("the scripts are as before, rules "));
    Write("<event");
    for (const std::size_t times : {1U, 2U}) {
        tool.Signal(SIGHUP);
        ASSERT_TRUE(WaitForError("the changed scripts are refused; ", times)) << "whoever asks gets an answer";
    }
    tool.HangUp();
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(m_place.Read("err"), HasSubstr(" cycles\n")) << "it ended as on Ctrl-C";
}

// As nohup starts it.
TEST_F(RulesOnTerminal, OutliveItWhereTheSignalWasIgnored) {
    const TracedProgram program(m_name, 1, 0, 5000);
    OnTerminal tool(m_place, Arguments(), true);
    ASSERT_TRUE(WaitForError("\nready\n"));
    tool.HangUp();
    ASSERT_TRUE(WaitForError("the scripts are as before, rules "));
    Write(Counting("COUNT_B"));
    tool.Signal(SIGHUP);
    ASSERT_TRUE(WaitForError("take over with cycle "));
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
}

}  // namespace
#endif
