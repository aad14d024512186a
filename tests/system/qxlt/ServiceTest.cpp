// `qxlt run` as a service: its health, its options out of a file, and what it tells the manager that started it.
#ifdef QXLT_MEDIA_SERVER
#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "LineSchema.h"
#include "NotifySocket.h"
#include "ReadFile.h"
#include "TracedRun.h"

namespace {

namespace fs = std::filesystem;

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Service : public TracedRun {
protected:
    nlohmann::json Status() const { return nlohmann::json::parse(m_place.Read("status.json")); }

    // Until the file tells that the run has got there, up to a minute.
    template <typename Condition>
    bool WaitForStatus(Condition condition) const {
        for (int i = 0; i < 600; ++i) {
            if (fs::exists(m_place.At("status.json")) && condition(Status())) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }
};

// --- Health

TEST_F(Service, WritesItsHealth) {
    const Child server(Server());
    Child tool(Tool({"--status-file", m_place.At("status.json"), "--metrics-file", m_place.At("car.prom")}));
    ASSERT_TRUE(WaitForStatus([](const auto& status) { return status["cycles"] >= 3; }));
    EXPECT_EQ(Status()["state"], "running");
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
    const nlohmann::json status = Status();
    EXPECT_EQ(status["state"], "ended");
    EXPECT_EQ(status["pid"], tool.Pid());
    ASSERT_EQ(status["processes"].size(), 1u);
    const nlohmann::json& process = status["processes"][0];
    EXPECT_EQ(process["process"], m_name);
    EXPECT_EQ(process["process_ids"], nlohmann::json::array({server.Pid()}));
    EXPECT_EQ(process["alive"], true);
    EXPECT_GT(process["calls"], 0);
    EXPECT_EQ(process["calls"], process["delivered"]);
    ASSERT_EQ(status["events"].size(), 1u);
    const nlohmann::json& event = status["events"][0];
    EXPECT_EQ(event["fired"], Lines(tool.Output()).size());
    EXPECT_EQ(event["seen"], event["fired"]);
    const std::string last = Lines(tool.Output()).back();
    EXPECT_THAT(last, StartsWith(event["lastTime"].get<std::string>() + "  VOLUME  " +
                                 event["lastValue"].get<std::string>() + " "));
    EXPECT_EQ(status["callbackUs"]["count"], event["fired"]);
    EXPECT_GE(status["cycleUs"]["longest"], 10000) << "a cycle holds the pause after its dump";
    EXPECT_GT(status["memory"]["residentBytes"], 100000);
    EXPECT_GT(status["memory"]["storeBytes"], 0);
    EXPECT_EQ(SchemaFault(m_place.Read("status.json").substr(0, m_place.Read("status.json").size() - 1)), "");
    EXPECT_THAT(m_place.Read("car.prom"), HasSubstr("\nqxlt_event_fired_total{run=\"car\",event=\"VOLUME\"} " +
                                                    std::to_string(Lines(tool.Output()).size()) + "\n"));
}

TEST_F(Service, ItsHealthCountsWhatBecomesOfEvents) {
    const Child server(Server());
    Child tool(Tool({"--status-file", m_place.At("status.json"), "--metrics-file", m_place.At("car.prom"), "--at-most",
                     "1/h", "--exec", "VOLUME=exit 3", "--keep-on", "VOLUME", "--after", "0", m_place.At("kept")}));
    ASSERT_TRUE(WaitForStatus([](const auto& status) { return status.value("commandsFailed", 0) == 1; }));
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 1) << "a command failed";
    const nlohmann::json status = Status();
    const nlohmann::json& event = status["events"][0];
    EXPECT_GT(event["heldBack"], 0);
    EXPECT_EQ(event["heldBack"], event["fired"].get<int>() - 1);
    EXPECT_EQ(status["commandsStarted"], 1);
    EXPECT_EQ(status["commandsLeftOut"], 0);
    EXPECT_EQ(status["capturesKept"], 1);
    EXPECT_EQ(status["firingsNotKept"], 0);
    EXPECT_EQ(SchemaFault(status.dump()), "");
    EXPECT_THAT(m_place.Read("car.prom"), HasSubstr("\nqxlt_events_held_back_total{run=\"car\",event=\"VOLUME\"} " +
                                                    event["heldBack"].dump() + "\n"));
}

TEST_F(Service, AnswersSignalsAlsoWhileItWaits) {
    Child tool(Tool({}));
    ASSERT_TRUE(tool.WaitForError("waiting for"));
    tool.Signal(SIGUSR1);
    ASSERT_TRUE(tool.WaitForError("\"storeBytes\":0}}\n"));
    EXPECT_THAT(tool.Error(), HasSubstr("{\"state\":\"waiting\","));
    EXPECT_THAT(tool.Error(), HasSubstr("\"waitingFor\":[\"" + m_name + "\"]"));
    const Child server(Server());
    ASSERT_TRUE(tool.WaitForOutput("VOLUME"));
    tool.Signal(SIGUSR1);
    ASSERT_TRUE(tool.WaitForError("{\"state\":\"running\""));
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
    for (const std::string& line : Lines(tool.Error())) {
        EXPECT_TRUE(line.front() != '{' || SchemaFault(line).empty()) << line;
    }
}

TEST_F(Service, ASignalHasTheFileWritten) {
    Child tool(Tool({"--status-file", m_place.At("status.json")}));
    ASSERT_TRUE(tool.WaitForError("waiting for"));
    ASSERT_TRUE(WaitForStatus([](const auto& status) { return status["waitingFor"].size() == 1; }));
    fs::remove(m_place.At("status.json"));
    tool.Signal(SIGUSR1);
    EXPECT_TRUE(WaitForStatus([](const auto& status) { return status["state"] == "waiting"; }));
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_EQ(Status()["state"], "ended");
    EXPECT_THAT(tool.Error(), Not(HasSubstr("{\"state\"")));
}

TEST_F(Service, AProcessThatEndsIsNotAlive) {
    auto server = std::make_unique<Child>(Server());
    Child tool(Tool({"--status-file", m_place.At("status.json")}));
    ASSERT_TRUE(tool.WaitForOutput("VOLUME"));
    server.reset();
    EXPECT_TRUE(WaitForStatus([](const auto& status) {
        return status["processes"][0]["alive"] == false && status["processes"][0]["process_ids"].empty();
    }));
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
}

TEST_F(Service, FilesThatCannotBeWrittenAreRefusedAtOnce) {
    const ToolResult status = RunTool({"run", "-s", m_script, "--status-file", m_place.At("no/status.json")});
    EXPECT_EQ(status.status, 2);
    EXPECT_EQ(status.error, "error: --status-file " + m_place.At("no/status.json") +
                                ": No such file or directory; name a file in a directory that can be written\n");
    const ToolResult metrics = RunTool({"run", "-s", m_script, "--metrics-file", m_place.At("no/car.prom")});
    EXPECT_EQ(metrics.status, 2);
    EXPECT_THAT(metrics.error, StartsWith("error: --metrics-file "));
}

TEST_F(Service, ADirectoryThatGoesIsToldOnce) {
    fs::create_directories(m_place.At("gone"));
    const Child server(Server());
    Child tool(Tool({"--status-file", m_place.At("gone/status.json"), "--metrics-file", m_place.At("car.prom")}));
    ASSERT_TRUE(tool.WaitForOutput("VOLUME"));
    // The run may be writing a file there.
    std::error_code error;
    do fs::remove_all(m_place.At("gone"), error);
    while (error);
    ASSERT_TRUE(tool.WaitForError("status.json: not written, No such file or directory; it is tried again\n"));
    // The other one is written after it: it was tried once more by then, at least.
    for (int i = 0; i < 3; ++i) {
        fs::remove(m_place.At("car.prom"));
        while (!fs::exists(m_place.At("car.prom"))) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_EQ(tool.Error().find("not written"), tool.Error().rfind("not written"));
}

// --- Options out of a file

TEST_F(Service, TakesOptionsOutOfAFile) {
    const Child server(Server());
    const std::string conf = m_place.Write("v.conf", "# All that the run needs.\nscript = " + m_script +
                                                         "\npause = fast\nuntil = VOLUME\ncolumns = event,value\n"
                                                         "quiet\nfor = 60s\n");
    Child::Setup setup;
    setup.environment = Environment();
    const ToolResult result = RunTool({"run", "--config", conf}, setup);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(Lines(result.output).back(), ContainsRegex("^VOLUME +[0-9]+$"));
    EXPECT_EQ(result.error, "");
}

TEST_F(Service, NamesThePlaceOfAWrongOption) {
    const std::string conf = m_place.Write("v.conf", "script = " + m_script + "\nuntill = VOLUME\n");
    const ToolResult result = RunTool({"run", "--config", conf});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error, "error: " + conf + ":2: no option \"untill\"; did you mean until; see qxlt run --help\n");
}

// --- The manager

TEST_F(Service, TellsWhenItIsReadyAndWhatItDoes) {
    NotifySocket manager(m_place.At("notify"));
    const Child server(Server());
    Child tool(Tool({}, {{"NOTIFY_SOCKET", manager.Address()}, {"WATCHDOG_USEC", "4000000"}}));
    const std::string ready = manager.WaitFor("READY=1");
    EXPECT_THAT(ready, ContainsRegex("^READY=1\nSTATUS=" + m_name + "\\[" + std::to_string(server.Pid()) +
                                     "\\], 1 cycle, 0 events, 0 calls lost\nWATCHDOG=1$"));
    EXPECT_EQ(manager.Told().size(), 1u);
    EXPECT_THAT(manager.WaitFor("STATUS="),
                ContainsRegex("^STATUS=[^\n]* [2-9] cycles, [0-9]+ events, [^\n]*\nWATCHDOG=1$"));
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(manager.WaitFor("STOPPING=1"), StartsWith("STOPPING=1\n"));
    manager.Take();
    EXPECT_THAT(manager.Told().back(), StartsWith("STOPPING=1\n")) << "nothing is told after it";
}

TEST_F(Service, TellsThatItReadsItsScenariosAgain) {
    NotifySocket manager(m_place.At("notify"));
    const Child server(Server());
    Child tool(Tool({"--status-file", m_place.At("status.json")}, {{"NOTIFY_SOCKET", manager.Address()}}));
    ASSERT_NE(manager.WaitFor("READY=1"), "");
    const std::string rules = Status()["rules"];
    m_place.Write("v.xml", VolumeScript("<event name=\"OTHER\" tag=\"IN\" value=\"0\" type=\"INT\"/>", m_name));
    tool.Signal(SIGHUP);
    EXPECT_THAT(manager.WaitFor("RELOADING=1"), StartsWith("RELOADING=1\n"));
    EXPECT_THAT(manager.WaitFor("READY=1"), StartsWith("READY=1\n"));
    EXPECT_TRUE(WaitForStatus([&rules](const auto& status) { return status["rules"] != rules; }));
    EXPECT_TRUE(WaitForStatus([](const auto& status) {
        return status["events"].size() == 2 && status["events"][0]["event"] == "OTHER" &&
               status["events"][0]["fired"] > 0;
    }));
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
}

// What it waits for may be started after it.
TEST_F(Service, IsReadyWhileItWaits) {
    NotifySocket manager("@qxlt" + m_place.At("notify"));
    Child tool(Tool({}, {{"NOTIFY_SOCKET", manager.Address()}}));
    EXPECT_EQ(manager.WaitFor("READY=1"), "READY=1\nSTATUS=waiting for " + m_name + "\nWATCHDOG=1");
    EXPECT_EQ(manager.WaitFor("WATCHDOG=1"), "STATUS=waiting for " + m_name + "\nWATCHDOG=1") << "the wait feeds it";
    const Child server(Server());
    EXPECT_NE(manager.WaitFor(" 1 cycle, "), "");
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_NE(manager.WaitFor("STOPPING=1"), "");
}

TEST_F(Service, TellsThatItEndsAlsoWhenItNeverBegan) {
    NotifySocket manager(m_place.At("notify"));
    Child tool(Tool({"--for", "1s"}, {{"NOTIFY_SOCKET", manager.Address()}}));
    EXPECT_EQ(tool.Finish(), 2);
    EXPECT_EQ(manager.WaitFor("STOPPING=1"), "STOPPING=1");
}

// A reader that does not read holds up the cycle: the manager is to notice.
TEST_F(Service, ACycleThatDoesNotEndFeedsNoWatchdog) {
    NotifySocket manager(m_place.At("notify"));
    Child::Setup flood = Server();
    flood.command.back() = "5000";
    const Child server(flood);
    Child tool(Tool({"--format", "json"}, {{"NOTIFY_SOCKET", manager.Address()}}));
    ASSERT_NE(manager.WaitFor("READY=1"), "");
    // Cycles end as long as the output's pipe has room, and each is told within two seconds.
    EXPECT_TRUE(manager.FallsSilent(std::chrono::seconds(4)));
    tool.CloseOutput();
    tool.Finish();
}

TEST_F(Service, AManagerThatDoesNotReadIsNotWaitedFor) {
    NotifySocket manager(m_place.At("notify"));
    const Child server(Server());
    Child tool(Tool({"--until", "VOLUME"}, {{"NOTIFY_SOCKET", manager.Address()}, {"WATCHDOG_USEC", "40"}}));
    EXPECT_EQ(tool.Finish(), 0);
}

// --- The unit

#ifdef QXLT_SYSTEMD_ANALYZE
TEST(ServiceUnit, IsAsTheSystemWantsIt) {
    const Workplace place;
    std::string unit = qxlt::ReadFile(QXLT_UNIT);
    const std::string program = "ExecStart=";
    const std::size_t begin = unit.find(program) + program.size();
    unit.replace(begin, unit.find(' ', begin) - begin, "/bin/true");
    place.Write("qxlt@.service", unit);
    Child::Setup setup;
    setup.command = {QXLT_SYSTEMD_ANALYZE, "verify", "--man=no", place.At("qxlt@car.service")};
    fs::copy_file(place.At("qxlt@.service"), place.At("qxlt@car.service"));
    Child verify(setup);
    EXPECT_EQ(verify.Finish(), 0) << verify.Error();
    EXPECT_THAT(verify.Error(), Not(HasSubstr("qxlt@"))) << "it has words about the unit";
}
#endif

// What the unit starts are options that there are.
TEST(ServiceUnit, StartsWhatTheToolKnows) {
    const Workplace place;
    const std::string unit = qxlt::ReadFile(QXLT_UNIT);
    const std::string head = "/bin/qxlt ";
    const std::size_t begin = unit.find(head, unit.find("\nExecStart=")) + head.size();
    std::string command = unit.substr(begin, unit.find('\n', begin) - begin);
    for (std::size_t at; (at = command.find("/etc/qxlt/%i")) != std::string::npos;) {
        command.replace(at, 12, place.At("car"));
    }
    std::vector<std::string> arguments;
    std::istringstream words(command);
    for (std::string word; words >> word;) arguments.push_back(word);
    place.Write("car.xml", VolumeScript(kEveryVolume, "nobody"));
    place.Write("car.conf", "for = 1ms\n");
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, HasSubstr("error: the time is over and nobody does not run"));
}

}  // namespace
#endif
