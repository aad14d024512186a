// What the tool shows and removes of the recordings of programs, of those that run and of those that have ended.
#ifdef QXLT_MEDIA_SERVER
#include <gmock/gmock.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Child.h"
#include "Workplace.h"

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

// Traced programs under a name that no other process has, with recordings of their own.
class RecordingFilesTest : public testing::Test {
protected:
    Child::Setup Setup() const {
        Child::Setup setup;
        setup.directory = m_place.Path();
        setup.environment = {{"QX_RUNTIME_DIR", m_place.At("rec")}};
        return setup;
    }

    Child::Setup Server() const {
        Child::Setup setup = Setup();
        setup.command = {m_place.At(m_name), "--rate", "1000"};
        return setup;
    }

    ToolResult Tool(const std::vector<std::string>& arguments) const { return RunTool(arguments, Setup()); }

    // Waits until the process has recorded, and gives its name as the tool shows it.
    std::string WaitFor(const Child& server) const {
        const std::string text = m_name + "[" + std::to_string(server.Pid()) + "]";
        for (int i = 0; i < 600; ++i) {
            if (Tool({"list", "--recording", text}).output.find("SetVolume") != std::string::npos) return text;
        }
        ADD_FAILURE() << text << " records nothing";
        return text;
    }

    // One that recorded, and was killed.
    std::string Crashed() const {
        Child server(Server());
        std::string text = WaitFor(server);
        server.Signal(SIGKILL);
        EXPECT_EQ(server.Finish(), 128 + SIGKILL);
        return text;
    }

    std::vector<std::string> Files() const {
        std::vector<std::string> files;
        for (const auto& entry : fs::directory_iterator(m_place.At("rec"))) files.push_back(entry.path().filename());
        return files;
    }

    const Workplace m_place;
    const std::string m_name = m_place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
};

TEST_F(RecordingFilesTest, HoldCallsOfATimeOfDay) {
    const std::string crashed = Crashed();
    for (const std::vector<std::string>& what : {std::vector<std::string>{"--recording", crashed}, {"-p", m_name}}) {
        const auto list = [&](const std::string& option, const std::string& time) {
            std::vector<std::string> arguments = {"list", option, time, "--method", "SetVolume"};
            arguments.insert(arguments.end(), what.begin(), what.end());
            const ToolResult result = Tool(arguments);
            EXPECT_EQ(result.error, "");
            return result.output;
        };
        EXPECT_THAT(list("--since", "2020-01-01T00:00:00Z"), ContainsRegex(" [1-9][0-9]* calls?  +audio.SetVolume"));
        EXPECT_THAT(list("--until-time", "2020-01-01T00:00:00Z"), HasSubstr(" 0 calls  audio.SetVolume"));
    }
    const std::vector<std::string> decode = {"decode", "--recording", crashed, "--until-time", "2020-01-01T00:00:00Z"};
    EXPECT_THAT(Tool(decode).output, Not(HasSubstr("\ncall ")));
    EXPECT_EQ(Tool(decode).error, "");
    EXPECT_THAT(Tool({"decode", "--recording", crashed}).output, HasSubstr("\ncall "));
}

// How its calls nested, what they had in common, and as pages for viewers.
TEST_F(RecordingFilesTest, WhatACrashedProgramLeftIsShownAsACaptureIs) {
    const std::string crashed = Crashed();
    const ToolResult trace = Tool({"trace", "--recording", crashed, "--method", "SetVolume", "--format", "json"});
    EXPECT_EQ(trace.status, 0) << trace.error;
    const nlohmann::json call = nlohmann::json::parse(Lines(trace.output).front())["call"];
    EXPECT_EQ(call["callerName"], "SetVolume");
    EXPECT_THAT(call["wall"].get<std::string>(), StartsWith("20")) << "by this machine's clock";
    EXPECT_THAT(Tool({"trace", "--recording", crashed, "-p", "nobody"}).output, Not(HasSubstr("SetVolume")));
    EXPECT_THAT(Tool({"report", "--recording", crashed}).output, ContainsRegex("audio.SetVolume +[1-9]"));
    EXPECT_THAT(Tool({"export", "--format", "chrome", "--recording", crashed}).output,
                HasSubstr("\"name\":\"audio.SetVolume\""));
    const ToolResult view = Tool({"view", "--recording", crashed, "-o", "page.html"});
    EXPECT_EQ(view.status, 0) << view.error;
    EXPECT_THAT(m_place.Read("page.html"), HasSubstr("SetVolume"));
    const std::string script = m_place.Write("v.xml", VolumeScript(kEveryVolume, m_name));
    const ToolResult replay = Tool({"replay", "-s", script, "--recording", crashed, "--format", "json"});
    const nlohmann::json event = nlohmann::json::parse(Lines(replay.output).front());
    EXPECT_EQ(event["call"]["wall"], call["wall"]);
    EXPECT_EQ(Files().size(), 1u);
}

TEST_F(RecordingFilesTest, ShowsNothingOfWhatIsNotNamed) {
    for (const std::string command : {"report", "view -o page.html", "export --format chrome"}) {
        std::istringstream words(command);
        const std::vector<std::string> arguments{std::istream_iterator<std::string>(words), {}};
        const ToolResult result = Tool(arguments);
        EXPECT_EQ(result.status, 2) << command;
        EXPECT_THAT(result.error, HasSubstr("CAPTURE is required, or else --recording")) << command;
    }
    EXPECT_THAT(Tool({"trace"}).error, HasSubstr("or else live processes with -p"));
    EXPECT_THAT(Tool({"trace", "--recording", "nobody"}).error, HasSubstr("--recording nobody: there is none"));
    EXPECT_THAT(Tool({"report", "capture", "--recording", "nobody"}).error, HasSubstr("excludes"));
}

TEST_F(RecordingFilesTest, WhatACrashedProgramLeftIsShownAgainAndAgain) {
    const std::string crashed = Crashed();
    const ToolResult first = Tool({"list", "-p", m_name});
    EXPECT_EQ(first.status, 0) << first.error;
    EXPECT_THAT(Lines(first.output).front(),
                MatchesRegex("process " + m_name + "\\[[0-9]+\\]  ended; recorded last [0-9.]+ s ago"));
    EXPECT_THAT(first.output, AllOf(HasSubstr("process " + crashed + "  ended"), HasSubstr("audio.SetVolume")));
    EXPECT_EQ(first.error, "");
    for (int i = 0; i < 2; ++i) {
        std::vector<std::string> lines = Lines(Tool({"list", "-p", m_name}).output);
        lines.front() = Lines(first.output).front();
        EXPECT_EQ(lines, Lines(first.output));
    }
    const nlohmann::json process =
        nlohmann::json::parse(Lines(Tool({"list", "-p", m_name, "--format", "json"}).output).front());
    EXPECT_EQ(process["state"], "ended");
    EXPECT_EQ(process["process_ids"].size(), 1u);
    EXPECT_EQ(Files().size(), 1u);
}

TEST_F(RecordingFilesTest, OneThatRunsIsShownRatherThanOneThatHasEnded) {
    const std::string crashed = Crashed();
    Child server(Server());
    const std::string running = WaitFor(server);
    const ToolResult result = Tool({"list", "-p", m_name});
    EXPECT_EQ(Lines(result.output).front(), "process " + running);
    EXPECT_THAT(Tool({"list", "--recording", crashed}).output, StartsWith("process " + crashed + "\n"));
    EXPECT_THAT(Tool({"list", "--recording", m_name}).error,
                AllOf(StartsWith("error: --recording " + m_name + ": there are "), HasSubstr(crashed),
                      HasSubstr(running), HasSubstr("; name one of them")));
}

TEST_F(RecordingFilesTest, TwoThatRunAreShownWithTheirThreads) {
    Child one(Server());
    Child two(Server());
    const std::string first = WaitFor(one);
    const std::string second = WaitFor(two);
    const ToolResult result = Tool({"list", "-p", m_name});
    EXPECT_EQ(result.error, "");
    const std::string& output = result.output;
    EXPECT_EQ(Lines(output).front(),
              "process " + (one.Pid() < two.Pid() ? first + ", " + second : second + ", " + first));
    for (const Child* server : {&one, &two}) {
        EXPECT_THAT(output, HasSubstr("  mixer  [" + std::to_string(server->Pid()) + "]\n"));
    }
    EXPECT_THAT(Tool({"list", "-p", m_name, "--format", "json"}).output,
                HasSubstr(",\"process_id\":" + std::to_string(two.Pid()) + "}\n"));
}

TEST_F(RecordingFilesTest, AreListed) {
    const ToolResult none = Tool({"list", "--recordings"});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.output, "");
    EXPECT_EQ(none.error, "nothing is recorded in " + m_place.At("rec") + "\n");
    const std::string crashed = Crashed();
    Child server(Server());
    const std::string running = WaitFor(server);
    const std::string output = Tool({"list", "--recordings"}).output;
    EXPECT_EQ(Lines(output).size(), 2u);
    const passwd* const entry = getpwuid(getuid());
    const std::string user = entry == nullptr ? std::to_string(getuid()) : entry->pw_name;
    const auto line = [&user](const std::string& text, const std::string& state) {
        const std::string name = text.substr(0, text.find('['));
        const std::string pid = text.substr(text.find('[') + 1, text.size() - name.size() - 2);
        return name + "\\[" + pid + "\\] +" + user + " +[0-9.]+ [KM]iB  " + state + "; recorded last [0-9.]+ s ago\n";
    };
    EXPECT_THAT(output, ContainsRegex(line(crashed, "ended")));
    EXPECT_THAT(output, ContainsRegex(line(running, "runs")));
    for (const std::string& json : Lines(Tool({"list", "--recordings", "--format", "json"}).output)) {
        const nlohmann::ordered_json object = nlohmann::ordered_json::parse(json);
        EXPECT_EQ(object["record"], "recording");
        EXPECT_EQ(object["process"], m_name);
        EXPECT_EQ(object["user"], user);
        EXPECT_EQ(object["state"] == "running", object["process_id"] == server.Pid());
        EXPECT_GT(object["bytes"], 100000u);
        EXPECT_GE(object["idleMs"], 0);
        EXPECT_TRUE(fs::exists(object["file"]));
        EXPECT_FALSE(object.contains("problem"));
    }
}

TEST_F(RecordingFilesTest, AreDecodedAndReplayedByNameByFileAndFromElsewhere) {
    const std::string crashed = Crashed();
    const std::string file = Files().at(0);
    const std::string copy = m_place.At("copy");
    fs::copy_file(m_place.At("rec") + "/" + file, copy);
    m_place.Write("v.xml", VolumeScript(kEveryVolume, m_name));
    const auto withoutEnd = [](const std::string& output) {
        std::vector<std::string> lines = Lines(output);
        lines.pop_back();
        return lines;
    };
    const std::vector<std::string> decoded = withoutEnd(Tool({"decode", "--recording", crashed}).output);
    EXPECT_GT(decoded.size(), 10u);
    EXPECT_THAT(decoded.back(), HasSubstr(m_name + "["));
    const std::string replayed = Tool({"replay", "-s", "v.xml", "--recording", crashed}).output;
    EXPECT_THAT(replayed,
                ContainsRegex("T[0-9:.]+Z  VOLUME +[0-9]+ .* " + m_name + "\\[[0-9]+\\]  mixer +audio.SetVolume"));
    const std::string listed = Tool({"list", "--recording", crashed}).output;
    for (const std::string& other : {m_name, file, m_place.At("rec") + "/" + file, copy, std::string("copy")}) {
        EXPECT_EQ(withoutEnd(Tool({"decode", "--recording", other}).output), decoded) << other;
        EXPECT_EQ(Tool({"replay", "-s", "v.xml", "--recording", other}).output, replayed) << other;
        EXPECT_EQ(Tool({"list", "--recording", other}).output, listed) << other;
    }
    EXPECT_EQ(withoutEnd(Tool({"decode", "copy"}).output), decoded);
    EXPECT_EQ(Files().size(), 1u);
}

TEST_F(RecordingFilesTest, ADamagedOneIsShownUpToTheDamage) {
    const std::string crashed = Crashed();
    const std::string copy = m_place.At("copy");
    fs::copy_file(m_place.At("rec") + "/" + Files().at(0), copy);
    const std::size_t calls = Lines(Tool({"decode", "copy"}).output).size();
    // Into the rings, of which the first thread's is whole.
    fs::resize_file(copy, fs::file_size(copy) / 64);
    const ToolResult result = Tool({"decode", "copy"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, ContainsRegex("^error: copy:[0-9]+: damage; what came before it is used"));
    EXPECT_LT(Lines(result.output).size(), calls);
    EXPECT_EQ(Tool({"list", "copy"}).status, 1);
    m_place.Write("v.xml", VolumeScript(kEveryVolume, m_name));
    EXPECT_EQ(Tool({"replay", "-s", "v.xml", "--recording", "./copy"}).status, 1);
    Child::Setup loud = Setup();
    loud.environment["QX_LOG"] = "stderr";
    EXPECT_THAT(RunTool({"decode", "copy", "--level", "major"}, loud).error, HasSubstr("copy: the file is cut short"));
    fs::resize_file(copy, 100);
    EXPECT_EQ(Tool({"decode", "copy"}).error, "error: copy: the file is cut short\n");
}

TEST_F(RecordingFilesTest, ThoseOfEndedProcessesAreCleaned) {
    const std::string crashed = Crashed();
    Child server(Server());
    const std::string running = WaitFor(server);
    const ToolResult dry = Tool({"clean", m_name, "--dry-run"});
    EXPECT_EQ(dry.status, 0);
    EXPECT_THAT(dry.output, StartsWith("would remove " + crashed + ", "));
    EXPECT_EQ(Lines(dry.output).size(), 1u);
    EXPECT_EQ(dry.error, "1 recording of running processes kept\n");
    EXPECT_EQ(Files().size(), 2u);
    const ToolResult removed = Tool({"clean", m_name, "--format", "json"});
    EXPECT_THAT(removed.output, StartsWith("{\"record\":\"removed\",\"process\":\"" + m_name + "\","));
    EXPECT_EQ(Files().size(), 1u);
    EXPECT_THAT(Tool({"list", "--recordings"}).output, StartsWith(running));
    server.Signal(SIGKILL);
    server.Finish();
    EXPECT_THAT(Tool({"clean", running}).output, StartsWith("removed " + running + ", "));
    EXPECT_TRUE(Files().empty());
    EXPECT_EQ(Tool({"clean", "--all"}).status, 0);
}

TEST_F(RecordingFilesTest, NamesOfAnyBytesReachNoTerminal) {
    fs::create_directory(m_place.At("rec"));
    ASSERT_EQ(chmod(m_place.At("rec").c_str(), 0700), 0);
    m_place.Write("rec/a%1B%0Ab%FF.1.1.qxrec", "x");
    ASSERT_EQ(chmod(m_place.At("rec/a%1B%0Ab%FF.1.1.qxrec").c_str(), 0600), 0);
    const std::string text = Tool({"list", "--recordings"}).output;
    EXPECT_THAT(text, StartsWith("a\\x1b\\nb\\xff[1]  "));
    EXPECT_THAT(text, HasSubstr("ended; cannot be read: the file is cut short"));
    EXPECT_THAT(Tool({"list", "--recordings", "--format", "json"}).output, HasSubstr("\"processHex\":\"611b0a62ff\""));
    EXPECT_THAT(Tool({"clean", "--all"}).output, StartsWith("removed a\\x1b\\nb\\xff[1], "));
    EXPECT_TRUE(Files().empty());
}

// The shell expands what it is offered: names that it would take for more than names are not.
TEST_F(RecordingFilesTest, AreOfferedByTheCompletion) {
    fs::create_directory(m_place.At("rec"));
    ASSERT_EQ(chmod(m_place.At("rec").c_str(), 0700), 0);
    m_place.Write("rec/plain.7.1.qxrec", "x");
    m_place.Write("rec/%24%28touch%20was-run%29.7.1.qxrec", "x");
    const auto completions = [this](const std::string& words) {
        Child::Setup setup = Setup();
        setup.command = {"/bin/bash", "-c",
                         ". " QXLT_SOURCE_DIR "/tools/qxlt/qxlt.bash; COMP_WORDS=(qxlt " + words +
                             " ''); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _qxlt " QXLT_PROGRAM
                             "; printf '%s\\n' \"${COMPREPLY[@]}\""};
        Child bash(setup);
        EXPECT_EQ(bash.Finish(), 0) << bash.Error();
        return Lines(bash.Output());
    };
    for (const char* words : {"list --recording", "decode --recording", "replay --recording", "clean"}) {
        EXPECT_THAT(completions(words), testing::ElementsAre("plain[7]")) << words;
    }
    EXPECT_FALSE(fs::exists(m_place.At("was-run")));
}

TEST_F(RecordingFilesTest, MistakesAreTold) {
    const std::string crashed = Crashed();
    const struct {
        std::vector<std::string> arguments;
        std::string error;
    } rows[] = {
        {{"list", "-p", m_name + "q"},
         "-p " + m_name + "q: nothing is recorded under that name; start it, or did you mean " + m_name},
        {{"list", "--recording", "nobody[1]"},
         "--recording nobody[1]: there is none; qxlt list --recordings shows what there is"},
        {{"list", "--recording", m_place.At("none")}, m_place.At("none") + ": No such file"},
        {{"list", "--recordings", "-p", m_name}, "name a capture or dumps"},
        {{"decode", "--recording", m_name + "[0]"}, "--recording " + m_name + "[0]: there is none"},
        {{"clean"}, "name the programs whose recordings are to go, or else --all"},
        {{"clean", "--all", m_name}, "name the programs"},
        {{"clean", "nobody"}, "nobody: nothing is recorded under that name"},
    };
    for (const auto& row : rows) {
        const ToolResult result = Tool(row.arguments);
        EXPECT_EQ(result.status, 2) << row.error;
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, StartsWith("error: " + row.error));
        EXPECT_EQ(Lines(result.error).size(), 1u);
    }
    ASSERT_EQ(chmod(m_place.At("rec").c_str(), 0755), 0);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"list", "--recordings"}, {"list", "-p", m_name}, {"clean", "--all"}}) {
        EXPECT_THAT(Tool(arguments).error, HasSubstr("its mode must be 0700"));
    }
}

// A program that runs is not told to be started.
TEST_F(RecordingFilesTest, WhyAProgramThatRunsCannotBeReadIsTold) {
    const std::string crashed = Crashed();
    Child::Setup elsewhere = Server();
    elsewhere.environment["QX_RUNTIME_DIR"] = m_place.At("other");
    Child server(elsewhere);
    while (!fs::exists(m_place.At("other"))) usleep(1000);
    const std::string running = m_name + "[" + std::to_string(server.Pid()) + "]";
    ToolResult result = Tool({"list", "-p", m_name});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error, "error: -p " + m_name + ": " + running +
                                " runs, and nothing of it can be read: it records into " + m_place.At("other") +
                                ", and this looks into " + m_place.At("rec") +
                                "; run this with QX_RUNTIME_DIR=" + m_place.At("other") +
                                "; what an ended one left shows with --recording " + crashed + "\n");
    // Beside one that can be read it is a warning.
    Child second(Server());
    WaitFor(second);
    result = Tool({"list", "-p", m_name});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.error,
                StartsWith("warning: " + running + " runs, and nothing of it can be read: it records into "));
    EXPECT_THAT(result.output, StartsWith("process " + m_name + "[" + std::to_string(second.Pid()) + "]\n"));
}

TEST_F(RecordingFilesTest, AProgramWithoutTheRecorderIsTold) {
    const std::string name = "qx" + std::to_string(getpid()) + "s";
    fs::create_symlink("/bin/sleep", m_place.At(name));
    Child::Setup setup = Setup();
    setup.command = {m_place.At(name), "1000"};
    Child program(setup);
    ToolResult result = Tool({"list", "-p", name});
    while (result.error.find("start it") != std::string::npos && result.error.find(" runs") == std::string::npos) {
        result = Tool({"list", "-p", name});
    }
    EXPECT_THAT(result.error, HasSubstr("it has not loaded the recorder (libqxrecorder)"));
    EXPECT_EQ(result.status, 2);
}

}  // namespace
#endif
