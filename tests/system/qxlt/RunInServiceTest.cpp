// `qxlt run` where nobody looks: it keeps what led to an event, starts programs, and writes elsewhere.
#ifdef QXLT_MEDIA_SERVER
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "TracedRun.h"

namespace {

namespace fs = std::filesystem;

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class InService : public TracedRun {};

// Those of the lines that are events of cycles within the bounds.
std::vector<std::string> EventsOf(const std::vector<std::string>& lines, int first, int last) {
    std::vector<std::string> events;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(events), [first, last](const std::string& line) {
        const std::string head = "{\"cycle\":";
        if (line.rfind(head, 0) != 0 || line.find(",\"event\":") == std::string::npos) return false;
        const int cycle = std::atoi(line.c_str() + head.size());
        return cycle >= first && cycle <= last;
    });
    return events;
}

// Neither the first cycle nor anything else from before is needed to read a later one.
TEST_F(InService, KeepsWhatLedToAnEvent) {
    const Child server(Server());
    const std::string captures = m_place.At("captures");
    Child tool(Tool({"--format", "json", "--keep-on", "OTHER*,VOLUME", "--before", "0", "--after", "1", captures}));
    EXPECT_TRUE(tool.WaitForError("VOLUME is kept in " + captures + "/VOLUME-000002, cycles 4 to 5\n"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    EXPECT_THAT(m_place.Read("captures/VOLUME-000001/capture.json"),
                ContainsRegex(",\"event\":\"VOLUME\",\"cycle\":2}"));
    for (const auto& [capture, first, last] : {std::tuple("/VOLUME-000001", 1, 3), {"/VOLUME-000002", 4, 5}}) {
        const ToolResult replay = RunTool({"replay", "-s", m_script, "--format", "json", captures + capture});
        EXPECT_EQ(replay.status, 0) << replay.error;
        const std::vector<std::string> live = EventsOf(Lines(tool.Output()), first, last);
        EXPECT_THAT(live, Not(IsEmpty()));
        EXPECT_EQ(EventsOf(Lines(replay.output), first, last), live);
    }
}

TEST_F(InService, GoesOnWithTheNumbersOfTheRunBefore) {
    const Child server(Server());
    for (const char* const number : {"000001", "000002"}) {
        Child tool(Tool({"--until", "VOLUME", "--keep-on", "VOLUME", "--keep", m_place.At("captures")}));
        EXPECT_EQ(tool.Finish(), 0) << tool.Error();
        EXPECT_THAT(tool.Error(), HasSubstr("/VOLUME-" + std::string(number) + ", cycles 1 to 2\n"));
    }
}

TEST_F(InService, StartsAProgramWithTheEvent) {
    const Child server(Server());
    const std::string command =
        "cat > " + m_place.At("in") + "; env | grep ^QX_EVENT_ | sort > " + m_place.At("env") + "; echo done";
    Child tool(Tool({"--format", "json", "--until", "VOLUME", "--exec", "VOL*=" + command, "--exec", "OTHER*=exit 1"}));
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    const std::string event = Lines(tool.Output()).front();
    EXPECT_EQ(m_place.Read("in"), event + "\n");
    EXPECT_THAT(tool.Error(), HasSubstr("\ndone\n"));
    const std::string variables = m_place.Read("env");
    EXPECT_THAT(variables, StartsWith("QX_EVENT_CYCLE=2\nQX_EVENT_METHOD=audio.SetVolume\nQX_EVENT_NAME=VOLUME\n"));
    EXPECT_THAT(variables, ContainsRegex("\nQX_EVENT_PID=[0-9]+\nQX_EVENT_PROCESS=" + m_name +
                                         "\nQX_EVENT_TIME=20[0-9-]+T[0-9:.]+Z\nQX_EVENT_VALUE=[0-9]+\n$"));
}

TEST_F(InService, HasStatusOneWhenAProgramFails) {
    const Child server(Server());
    Child tool(Tool({"--until", "VOLUME", "--exec", "VOLUME=exit 4"}));
    EXPECT_EQ(tool.Finish(), 1);
    EXPECT_THAT(tool.Error(), HasSubstr("warning: --exec VOLUME: \"exit 4\" ended with status 4\n"));
}

TEST_F(InService, WritesToFilesOfSomeSize) {
    const Child server(Server());
    const std::string path = m_place.At("events.jsonl");
    Child tool(Tool({"--format", "json", "--output", path, "--rotate", "4kB", "--rotate-keep", "2"}));
    tool.CloseOutput();  // nobody needs it
    EXPECT_TRUE(tool.WaitForError("ready\n"));
    while (!fs::exists(path + ".2")) usleep(20000);
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    EXPECT_FALSE(fs::exists(path + ".3"));
    for (const char* const name : {"events.jsonl", "events.jsonl.1", "events.jsonl.2"}) {
        const std::string text = m_place.Read(name);
        EXPECT_LE(text.size(), 4000U);
        EXPECT_EQ(text.back(), '\n');
        for (const std::string& line : Lines(text)) {
            EXPECT_THAT(line, StartsWith("{"));
            EXPECT_EQ(line.back(), '}');
        }
    }
    EXPECT_THAT(Lines(m_place.Read("events.jsonl")).back(), StartsWith("{\"total\":"));
}

TEST_F(InService, GoesOnWhenLinesAreLost) {
    const Child server(Server());
    Child tool(Tool({"--output", "/dev/full", "--for", "4s"}));
    EXPECT_EQ(tool.Finish(), 1);
    EXPECT_THAT(tool.Error(), HasSubstr("error: /dev/full: No space left on device; lines are lost until it can be"));
    EXPECT_THAT(tool.Error(), ContainsRegex("error: /dev/full: [0-9]+ lines lost\n"));
}

TEST_F(InService, HandsOnSoManyEventsOnly) {
    const Child server(Server());
    Child tool(Tool({"--format", "json", "--at-most", "2/h", "--exec", "VOLUME=echo x >> " + m_place.At("ran")}));
    EXPECT_TRUE(tool.WaitForError("ready\n"));
    EXPECT_TRUE(tool.WaitForOutput("\"event\":\"VOLUME\""));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    const std::vector<std::string> lines = Lines(tool.Output());
    EXPECT_EQ(EventsOf(lines, 0, 1000).size(), 2U);
    EXPECT_THAT(lines, testing::Contains(
                           ContainsRegex("^\\{\"cycle\":[0-9]+,\"held\":\\{\"event\":\"VOLUME\",\"count\":[0-9]+")));
    EXPECT_EQ(m_place.Read("ran"), "x\nx\n");
}

// What the journal's socket would get, in a place of the test's own. Who may not have one of his own leaves it out.
TEST_F(InService, SendsEventsToTheJournal) {
    const std::string socketPath = m_place.At("journal/socket");
    fs::create_directory(m_place.At("journal"));
    const int journal = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(socketPath.size(), sizeof address.sun_path);
    std::strcpy(address.sun_path, socketPath.c_str());
    ASSERT_EQ(bind(journal, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    if (std::system("unshare -m true 2>/dev/null") != 0) GTEST_SKIP() << "no mount of its own";
    if (RunTool({"run", "-s", m_script, "--output", "journald"}).error.find("QX_SYSTEMD") != std::string::npos) {
        GTEST_SKIP() << "built without the journal";
    }
    const Child server(Server());
    Child::Setup setup = Tool({"--until", "VOLUME", "--output", "journald"});
    const std::string mount = "mount -t tmpfs none /run && mkdir -p /run/systemd/journal && mount --bind " +
                              m_place.At("journal") + " /run/systemd/journal && exec \"$@\"";
    const std::vector<std::string> wrapper = {"/usr/bin/unshare", "-m", "/bin/sh", "-c", mount, "sh"};
    setup.command.insert(setup.command.begin(), wrapper.begin(), wrapper.end());
    Child tool(setup);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    std::string entry(65536, '\0');
    const ssize_t size = recv(journal, entry.data(), entry.size(), MSG_DONTWAIT);
    close(journal);
    ASSERT_GT(size, 0);
    entry.resize(static_cast<std::size_t>(size));
    EXPECT_THAT(entry, ContainsRegex("^MESSAGE=20[^\n]* VOLUME [^\n]*\nPRIORITY=5\nSYSLOG_IDENTIFIER=qxlt\n"
                                     "QX_EVENT=VOLUME\nQX_VALUE=[0-9]+\nQX_CYCLE=2\nQX_METHOD=audio.SetVolume\n"
                                     "QX_PROCESS=" +
                                     m_name + "\nQX_PID=[0-9]+\nQX_TIME=20"));
    EXPECT_EQ(tool.Output(), "");
}

TEST_F(InService, DoesNotStartWithWhatItCannotDo) {
    const std::string dir = m_place.At("captures");
    const std::string file = m_place.Write("file", "");
    const struct {
        std::vector<std::string> arguments;
        std::string error;
    } rows[] = {
        {{"--keep-on", "VOLUMES", dir},
         "error: --keep-on VOLUMES: the scripts have no event of that name; did you mean VOLUME\n"},
        {{"--keep-on", "VOLUME"}, "error: --keep-on needs one directory; add --keep DIR\n"},
        {{"--keep-on", "VOLUME", "--keep", dir, dir}, "error: --keep-on needs one directory; add --keep DIR\n"},
        {{dir}, "error: \"" + dir + "\" is where --keep-on EVENT keeps captures; add that, or write --keep "},
        {{"--keep-on", "VOLUME", file}, "error: " + file + ": "},
        {{"--before", "3"}, "error: --before requires --keep-on"},
        {{"--keep-on", "VOLUME", "--keep-most", "0", dir}, "error: --keep-most: "},
        {{"--exec", "VOLUME"}, "error: --exec: \"VOLUME\" is no EVENT=COMMAND"},
        {{"--exec", "NONE=true"}, "error: --exec NONE: the scripts have no event of that name"},
        {{"--output", m_place.At("none/x")},
         "error: " + m_place.At("none/x") + ": No such file or directory; name a file"},
        {{"--rotate", "1MB"}, "error: --rotate requires --output"},
        {{"--at-most", "10"}, "error: --at-most: \"10\" is no rate; write 10/min or EVENT=10/min, per s, min or h"},
    };
    for (const auto& row : rows) {
        Child tool(Tool(row.arguments));
        EXPECT_EQ(tool.Finish(), 2) << row.error;
        EXPECT_THAT(tool.Error(), HasSubstr(row.error));
    }
}

}  // namespace
#endif
