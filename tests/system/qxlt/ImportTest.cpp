// Recordings of other tracers as captures. Where a tracer is there, it records for itself.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "NestedCapture.h"
#include "Workplace.h"

namespace {

namespace fs = std::filesystem;

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Json = nlohmann::json;

constexpr char kBabeltrace[] = "/usr/bin/babeltrace2";
constexpr char kUftrace[] = "/usr/bin/uftrace";
constexpr char kLttng[] = "/usr/bin/lttng";
const std::string kSources = QXLT_SOURCE_DIR "/tests/system/qxlt/traced_elsewhere/";

ToolResult Import(const std::string& tracer, const std::string& directory, const std::string& capture,
                  const std::vector<std::string>& more = {}, Child::Setup setup = {}) {
    std::vector<std::string> all = {"import", tracer, directory, "-o", capture};
    all.insert(all.end(), more.begin(), more.end());
    return RunTool(all, std::move(setup));
}

bool ImportsCtf() {
#ifdef QXLT_IMPORTS_CTF
    return true;
#else
    return false;
#endif
}

#define SKIP_WITHOUT_CTF() \
    if (!ImportsCtf()) GTEST_SKIP() << "built without libbabeltrace2-dev: scripts/install-deps installs it"

void RunShell(const Workplace& place, const std::string& commands) {
    Child::Setup setup;
    setup.command = {"/bin/bash", "-c", "set -e\nexec 2>&1\n" + commands};
    setup.directory = place.Path();
    Child shell(setup);
    ASSERT_EQ(shell.Finish(), 0) << shell.Output();
}

// Of each call its method, values and results, in the order of their times.
std::vector<std::string> CallsOf(const std::string& capture) {
    const ToolResult result = RunTool({"trace", capture, "--format", "json"});
    EXPECT_EQ(result.status, 0) << result.error;
    std::vector<std::string> calls;
    for (const std::string& line : Lines(result.output)) {
        const Json call = Json::parse(line).at("call");
        std::string text = call.at("packageName").get<std::string>() + "." + call.at("callerName").get<std::string>();
        for (const char* const list : {"in", "out", "ret"}) {
            text += std::string(" ") + list;
            for (const Json& argument : call.at(list)) {
                for (Json pair : argument) {
                    pair.erase("hex");
                    text += " " + pair.dump();
                }
            }
        }
        calls.push_back(text);
    }
    return calls;
}

std::string LoudScript(const Workplace& place, const std::string& process) {
    return place.Write("loud.xml", VolumeScript("<event name=\"LOUD\" tag=\"IN\" value=\"0\" type=\"INT\" "
                                                "watch=\"CONDITIONAL\" condition=\"&gt;\" conditionValue=\"80\"/>",
                                                process));
}

std::vector<std::string> EventsOf(const Workplace& place, const std::string& process) {
    const std::string script = LoudScript(place, process);
    const ToolResult result = RunTool({"replay", "-s", script, "--format", "json", place.At("capture")});
    EXPECT_EQ(result.status, 0) << result.error;
    std::vector<std::string> values;
    for (const std::string& line : Lines(result.output)) {
        const Json event = Json::parse(line);
        if (event.contains("event")) values.push_back(event.at("value"));
    }
    return values;
}

// --- uftrace

// A program in its place that prints that text, then does what the commands say.
Child::Setup FakeUftrace(const Workplace& place, const std::string& text, const std::string& commands = "") {
    place.Write("printed", text);
    const std::string program = place.Write("bin/uftrace", "#!/bin/sh\ncat '" + place.At("printed") + "'\n" + commands);
    fs::permissions(program, fs::perms::owner_all);
    place.Write("data/task.txt",
                "SESS timestamp=1.1 pid=70 sid=4fa0 exename=\"/opt/tuner\"\nTASK timestamp=1.1 tid=70 pid=70\n"
                "TASK timestamp=1.2 tid=71 pid=70\n");
    Child::Setup setup;
    setup.environment["PATH"] = place.At("bin") + ":/usr/bin:/bin";
    return setup;
}

constexpr char kTwoThreads[] =
    "reading 70.dat\n"
    "    1.000000000     70: [entry] main(1) depth: 0\n"
    "    1.000010000     70: [entry] SetVolume(1) depth: 1\n"
    "    1.000010000     70: [args ] length = 4\n"
    "  args[0] i32: 0x00000055\n"
    "    1.000090000     70: [exit ] SetVolume(1) depth: 1\n"
    "    1.000090000     70: [retval] length = 4\n"
    "  retval i32: 0xffffffff\n"
    "reading 71.dat\n"
    "    1.000020000     71: [entry] SetVolume(1) depth: 0\n"
    "    1.000020000     71: [args ] length = 4\n"
    "  args[0] i32: 0x00000078\n"
    "    1.000030000     71: [exit ] SetVolume(1) depth: 0\n"
    "    1.000030000     71: [retval] length = 4\n"
    "  retval i32: 0x00000001\n";

TEST(ImportUftrace, BringsThreadsIntoTheOrderOfTime) {
    const Workplace place;
    const Child::Setup setup = FakeUftrace(place, kTwoThreads);
    const ToolResult result = Import("uftrace", place.At("data"), place.At("capture"), {}, setup);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "3 calls of 1 process in 1 cycle: " + place.At("capture") + "\n");
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(
        CallsOf(place.At("capture")),
        ElementsAre("tuner.main in out ret", R"(tuner.SetVolume in {"int":85,"name":""} out ret {"int":-1,"name":""})",
                    R"(tuner.SetVolume in {"int":120,"name":""} out ret {"int":1,"name":""})"));
    EXPECT_THAT(EventsOf(place, "tuner"), ElementsAre("85", "120"));
}

TEST(ImportUftrace, TellsWhoMadeTheCalls) {
    const Workplace place;
    const Child::Setup setup = FakeUftrace(place, kTwoThreads);
    Import("uftrace", place.At("data"), place.At("capture"), {}, setup);
    const std::string script = LoudScript(place, "tuner");
    const ToolResult result = RunTool({"replay", "-s", script, "--format", "json", place.At("capture")});
    ASSERT_GE(Lines(result.output).size(), 2u) << result.error;
    EXPECT_THAT(Lines(result.output)[1],
                AllOf(HasSubstr("\"process\":\"tuner\""), HasSubstr("\"process_id\":70"),
                      HasSubstr("\"thread\":\"thread 71\""), HasSubstr("\"time\":1000020000")));
}

TEST(ImportUftrace, KeepsWhatWasPrintedBeforeAFailure) {
    const Workplace place;
    const Child::Setup setup = FakeUftrace(place, kTwoThreads, "echo 'ERROR: damaged' >&2\nexit 255\n");
    const ToolResult result = Import("uftrace", place.At("data"), place.At("capture"), {}, setup);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "error: " + place.At("data") + ": uftrace dump: ERROR: damaged; what it printed before is kept\n");
    EXPECT_EQ(CallsOf(place.At("capture")).size(), 3u);
}

TEST(ImportUftrace, TellsWhatIsMissing) {
    const Workplace place;
    const Child::Setup setup =
        FakeUftrace(place,
                    "reading 70.dat\n1.0000000001 70: [lost ] records 3\n1.000000000 70: [lost ] records 5\n"
                    "1.000000001 70: [exit ] F(1) depth: 0\n");
    const ToolResult result = Import("uftrace", place.At("data"), place.At("capture"), {}, setup);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error,
              "warning: 5 records lost by uftrace; give it a larger --buffer\n"
              "warning: 1 return without a call, left out\n");
}

// Options that lie with somebody else's recording are not obeyed.
TEST(ImportUftrace, RefusesOptionsThatComeWithTheRecording) {
    const Workplace place;
    const Child::Setup setup = FakeUftrace(place, kTwoThreads);
    place.Write("data/default.opts", "--chrome\n");
    const ToolResult result = Import("uftrace", place.At("data"), place.At("capture"), {}, setup);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error,
              "error: " + place.At("data") +
                  "/default.opts: holds options of uftrace, which change what it prints; empty the file\n");
    EXPECT_FALSE(fs::exists(place.At("capture")));
}

TEST(ImportUftrace, TellsWhatCannotBeImported) {
    const Workplace place;
    Child::Setup setup = FakeUftrace(place, kTwoThreads);
    EXPECT_THAT(Import("uftrace", place.At("none"), place.At("a"), {}, setup).error,
                HasSubstr("holds no task.txt; name a directory that uftrace record wrote"));
    EXPECT_THAT(Import("uftrace", place.At("data"), place.At("data"), {}, setup).error, HasSubstr("is not empty"));
    EXPECT_THAT(Import("uftrace", place.At("data"), place.At("b"), {"--map", "x"}, setup).error,
                HasSubstr("--map tells what the events of a CTF trace are"));
    setup.environment["PATH"] = place.At("nowhere");
    const ToolResult result = Import("uftrace", place.At("data"), place.At("c"), {}, setup);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error, "error: uftrace: No such file or directory; install it (Debian's package is uftrace)\n");
}

TEST(ImportUftrace, TakesWhatItRecorded) {
    if (!fs::exists(kUftrace)) GTEST_SKIP() << "uftrace is not installed: scripts/install-deps does that";
    const Workplace place;
    const std::string function = "SetVolume@arg1/i32,arg2/u8,arg3/s,fparg1/64";
    ASSERT_NO_FATAL_FAILURE(RunShell(place, "c++ -O1 -pg '" + kSources +
                                                "called.cpp' -o called -pthread\n"
                                                "uftrace record --no-pager -d data -A '" +
                                                function + "' -R SetVolume@retval/i32 ./called\n"));
    const ToolResult result = Import("uftrace", place.At("data"), place.At("capture"));
    EXPECT_EQ(result.status, 0) << result.error;
    const std::vector<std::string> calls = CallsOf(place.At("capture"));
    EXPECT_THAT(
        calls,
        testing::IsSupersetOf(
            {R"(called.SetVolume in {"int":85,"name":""} {"int":1,"name":""} {"name":"","text":"main"} {"float":0.5,"name":""} out ret {"int":85,"name":""})",
             R"(called.SetVolume in {"int":-5,"name":""} {"int":0,"name":""} {"name":"","text":""} {"float":2.25,"name":""} out ret {"int":-5,"name":""})",
             R"(called.SetVolume in {"int":120,"name":""} {"int":0,"name":""} {"name":"","text":"two\nlines"} {"float":-1,"name":""} out ret {"int":-1,"name":""})"}));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "called.Check in out ret"), 3);
    EXPECT_THAT(EventsOf(place, "called"), ElementsAre("85", "120"));
}

// --- CTF

// What a capture holds comes back from its own trace.
class ImportOwnCtf : public testing::Test {
protected:
    void Export() {
        NestedCapture(place);
        fs::rename(place.At("capture"), place.At("original"));
        const ToolResult result = RunTool({"export", "--format", "ctf", place.At("original"), "-o", place.At("trace")});
        ASSERT_EQ(result.status, 0) << result.error;
    }
    const Workplace place;
};

const std::vector<std::string> kNestedCalls = {
    R"(audio.Play in {"name":"","text":"hd\"mi"} out ret {"int":-1,"name":""})",
    R"(audio.SetVolume in {"int":20,"name":""} out ret)", R"(audio.SetVolume in {"int":85,"name":""} out ret)",
    R"(audio.Log in {"int":1,"name":""} {"float":2.5,"name":""} out ret)",
    R"(audio.Move in {"int":1,"name":"x"} {"int":2,"name":"y"} out {"int":255,"name":""} ret)"};

TEST_F(ImportOwnCtf, BringsBackWhatWasExported) {
    SKIP_WITHOUT_CTF();
    ASSERT_NO_FATAL_FAILURE(Export());
    const ToolResult result = Import("ctf", place.At("trace"), place.At("capture"));
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "5 calls of 1 process in 1 cycle: " + place.At("capture") + "\n");
    EXPECT_THAT(CallsOf(place.At("capture")), testing::UnorderedElementsAreArray(kNestedCalls));
    EXPECT_THAT(EventsOf(place, "m"), ElementsAre("85"));
}

TEST_F(ImportOwnCtf, WorksWithEveryCommandOnCaptures) {
    SKIP_WITHOUT_CTF();
    ASSERT_NO_FATAL_FAILURE(Export());
    ASSERT_EQ(Import("ctf", place.At("trace"), place.At("capture")).status, 0);
    const std::string script = LoudScript(place, "m");
    EXPECT_EQ(RunTool({"check", script, "--against", place.At("capture")}).status, 0);
    EXPECT_THAT(RunTool({"list", place.At("capture")}).output, HasSubstr("audio.SetVolume"));
    EXPECT_EQ(RunTool({"export", "--format", "chrome", place.At("capture")}).status, 0);
    fs::create_directories(place.At("tests/volume"));
    fs::rename(place.At("capture"), place.At("tests/volume/capture"));
    fs::rename(script, place.At("tests/volume/loud.xml"));
    EXPECT_EQ(RunTool({"test", place.At("tests"), "--update"}).status, 0);
    EXPECT_THAT(place.Read("tests/volume/expected.jsonl"), HasSubstr("\"event\":\"LOUD\",\"value\":\"85\""));
}

// Values that hold nothing keep their places, and bytes that are no text stay what they are.
TEST_F(ImportOwnCtf, BringsBackWhatIsEmptyAndWhatIsNoText) {
    SKIP_WITHOUT_CTF();
    using namespace dump;
    place.Write("original/capture.json", CaptureFile("\"m\":7"));
    place.Write("original/000001/m.qxdump",
                Persistent({Item(
                    kLocation, Location(3).Name("F", "p").Arg("string", kIn, kVariableSize).Arg("uint8_t", kIn, 1))}) +
                    Thread(3, {StreamItem(kBefore, Before(5, 3, Variable("caf\xE9") + Int(7, 1))),
                               StreamItem(kAfter, After(1))}));
    ASSERT_EQ(RunTool({"export", "--format", "ctf", place.At("original"), "-o", place.At("trace")}).status, 0);
    const ToolResult result = Import("ctf", place.At("trace"), place.At("capture"));
    EXPECT_EQ(result.status, 0) << result.error;
    const ToolResult traced = RunTool({"trace", place.At("capture"), "--format", "json"});
    EXPECT_THAT(traced.output, HasSubstr(R"("in":[[{"name":"","hex":"636166e9",)"));
    EXPECT_THAT(traced.output, HasSubstr(R"(],[{"name":"","hex":"0700000000000000","int":7}]])"));
}

// A trace of one stream with several packets.
class ImportDamagedCtf : public testing::Test {
protected:
    static constexpr std::size_t kCalls = 3000;

    void SetUp() override {
        SKIP_WITHOUT_CTF();
        place.Write("original/capture.json", CaptureFile("\"m\":7"));
        place.Write("original/000001/m.qxdump", VolumeDump(std::vector<int>(kCalls, 85)));
        ASSERT_EQ(RunTool({"export", "--format", "ctf", place.At("original"), "-o", place.At("trace")}).status, 0);
        stream = place.Read("trace/stream_0");
        ASSERT_GT(stream.size(), 4u * 65536);
    }

    // How many calls come from the trace with such a stream; the import has that status.
    unsigned long Import(const std::string& bytes, int status) {
        place.Write("trace/stream_0", bytes);
        const std::string capture = place.At("capture" + std::to_string(++captures));
        const ToolResult result = ::Import("ctf", place.At("trace"), capture);
        EXPECT_EQ(result.status, status) << result.error;
        if (status == 1) {
            EXPECT_THAT(result.error, AllOf(StartsWith("error: " + place.At("trace") + ": "),
                                            EndsWith("; what is good of it is kept\n")));
        }
        return status == 2 ? 0 : std::stoul(result.output);
    }

    const Workplace place;
    std::string stream;
    unsigned captures = 0;
};

TEST_F(ImportDamagedCtf, LosesNoPacketThatIsWhole) {
    EXPECT_EQ(Import(stream, 0), kCalls);
    EXPECT_EQ(Import(stream + stream.substr(0, 60), 1), kCalls);
    const unsigned long most = Import(stream.substr(0, stream.size() - 1), 1);
    EXPECT_GT(most, kCalls / 2);
    EXPECT_LT(most, kCalls);
    const unsigned long some = Import(stream.substr(0, 2 * 66000), 1);
    EXPECT_GT(some, 0u);
    EXPECT_LT(some, most);
}

TEST_F(ImportDamagedCtf, LosesNoOtherStream) {
    const std::string good = stream;
    place.Write("trace/stream_1", "no stream");
    EXPECT_EQ(Import(good, 1), kCalls);
}

TEST_F(ImportDamagedCtf, CannotImportWhatHasNoWholePacket) {
    EXPECT_EQ(Import(stream.substr(0, 1000), 2), 0u);
    EXPECT_EQ(Import("", 2), 0u);
}

TEST(ImportCtf, TellsWhatCannotBeImported) {
    SKIP_WITHOUT_CTF();
    const Workplace place;
    place.Write("bad/metadata", "/* CTF 1.8 */ trace { nonsense");
    place.Write("full/x", "");
    place.Write("empty/x", "");
    const struct {
        std::vector<std::string> words;
        const char* error;
    } rows[] = {{{place.At("none"), "-o", place.At("a")}, "No such file or directory; name a directory with a file"},
                {{place.At("empty"), "-o", place.At("b")}, "holds no trace in CTF; name a directory with a file"},
                {{place.At("bad"), "-o", place.At("c")}, "/bad: "},
                {{place.At("bad"), "-o", place.At("full")}, "is not empty; name a new directory"},
                {{place.At("bad"), "-o", place.At("d"), "--map", place.At("none.json")}, "none.json: "},
                {{place.At("bad"), "-o", place.At("e"), "--map", place.At("bad/metadata")}, "metadata"}};
    // The library itself keeps some bytes of a description that it cannot read.
    Child::Setup setup;
    setup.environment["LSAN_OPTIONS"] = "detect_leaks=0";
    for (const auto& row : rows) {
        std::vector<std::string> words = {"import", "ctf"};
        words.insert(words.end(), row.words.begin(), row.words.end());
        const ToolResult result = RunTool(words, setup);
        EXPECT_EQ(result.status, 2) << row.error;
        EXPECT_THAT(result.error, AllOf(StartsWith("error: "), HasSubstr(row.error)));
        EXPECT_THAT(Lines(result.error), testing::SizeIs(1)) << result.error;
    }
}

TEST(ImportCtf, TellsWhatIsNotInstalled) {
    const Workplace place;
    fs::create_directory(place.At("bin"));
    fs::copy_file(fs::path(QXLT_PROGRAM), place.At("bin/qxlt"));
    Child::Setup setup;
    setup.command = {place.At("bin/qxlt"), "import", "ctf", place.Path(), "-o", place.At("capture")};
    Child tool(setup);
    EXPECT_EQ(tool.Finish(), 2);
    EXPECT_EQ(tool.Error(),
              "error: import ctf: qxlt-import-ctf is not installed, or qxlt was built without libbabeltrace2; install "
              "the package qxlt-import-ctf\n");
}

// --- LTTng-UST

// Records as a user without rights, with daemons of its own: those of root serve the whole machine.
class ImportLttng : public testing::Test {
protected:
    void SetUp() override {
        SKIP_WITHOUT_CTF();
        if (!fs::exists(kLttng)) GTEST_SKIP() << "lttng-tools is not installed: scripts/install-deps does that";
#if !__has_include(<lttng/tracepoint.h>)
        GTEST_SKIP() << "liblttng-ust-dev is not installed: scripts/install-deps does that";
#endif
        fs::permissions(place.Path(), fs::perms::all);
        RunShell(place, "c++ -DRECORDED_BY_LTTNG -I'" + kSources + "' '" + kSources +
                            "called.cpp' -o called -pthread -llttng-ust -ldl\n");
        place.Write("record", R"(
            set -e
            export LTTNG_HOME=$PWD/home
            mkdir home
            lttng-sessiond --no-kernel >daemon.log 2>&1 &
            daemon=$!
            trap 'kill $daemon; wait $daemon || true' EXIT
            for ((i = 0; i < 200; ++i)); do
                lttng --no-sessiond list >/dev/null 2>&1 && break
                sleep 0.05
            done
            lttng --no-sessiond create qx --output="$PWD/trace"
            lttng --no-sessiond enable-event -u 'audio:*'
            [ -z "$CONTEXTS" ] || lttng --no-sessiond add-context -u -t vpid -t vtid -t procname
            lttng --no-sessiond start
            ./called
            lttng --no-sessiond destroy
        )");
    }

    void Record(const std::string& contexts) {
        const std::string without = getuid() == 0 ? "setpriv --reuid 65534 --regid 65534 --clear-groups " : "";
        RunShell(place, "export CONTEXTS=" + contexts + "\n" + without + "bash record\n");
    }

    void ExpectCalls() {
        const ToolResult result = Import("ctf", place.At("trace"), place.At("capture"));
        EXPECT_EQ(result.status, 0) << result.error;
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(result.output, "7 calls of 1 process in 1 cycle: " + place.At("capture") + "\n");
        EXPECT_THAT(
            CallsOf(place.At("capture")),
            ElementsAre(
                R"(audio.SetVolume in {"int":85,"name":""} {"int":1,"name":""} {"name":"","text":"main"} {"float":0.5,"name":""} {"int":1,"name":""} {"int":-2,"name":""} {"int":3,"name":""} {"int":2,"name":""} out ret {"int":85,"name":""})",
                R"(audio.note in {"name":"","text":"loud"} out ret)",
                R"(audio.SetVolume in {"int":-5,"name":""} {"int":0,"name":""} {"name":"","text":""} {"float":2.25,"name":""} {"int":1,"name":""} out ret {"int":-5,"name":""})",
                R"(audio.note in {"name":"","text":""} out ret)",
                R"(audio.SetVolume in {"int":120,"name":""} {"int":0,"name":""} {"name":"","text":"two\nlines"} {"float":-1,"name":""} {"int":1,"name":""} {"int":-2,"name":""} {"int":3,"name":""} {"int":2,"name":""} out ret {"int":-1,"name":""})",
                R"(audio.note in {"name":"","text":"loud"} out ret)",
                R"(audio.SetVolume in {"int":7,"name":""} {"int":0,"name":""} {"name":"","text":"open"} {"float":0,"name":""} {"int":1,"name":""} out ret)"));
        EXPECT_THAT(EventsOf(place, "called"), ElementsAre("85", "120"));
    }

    void ExpectCallsOfMapFile() {
        const std::string map = place.Write("map.json", R"({"calls":[
        {"entry":"audio:SetVolume_entry","exit":"audio:SetVolume_exit","method":"Volume","package":"mixer",
         "in":["name","level"],"out":["result"]},
        {"entry":"audio:note","method":"Note","package":"log","in":[]}]})");
        const ToolResult result = Import("ctf", place.At("trace"), place.At("mapped"), {"--map", map});
        EXPECT_EQ(result.status, 0) << result.error;
        const std::vector<std::string> calls = CallsOf(place.At("mapped"));
        ASSERT_EQ(calls.size(), 7u);
        EXPECT_EQ(calls[0],
                  R"(mixer.Volume in {"name":"","text":"main"} {"int":85,"name":""} out {"int":85,"name":""} ret)");
        EXPECT_EQ(calls[1], "log.Note in out ret");
    }

    // Who else writes what was read.
    void ExpectCallsOfAnotherWriter() {
        if (!fs::exists(kBabeltrace)) return;
        ASSERT_NO_FATAL_FAILURE(RunShell(place, "babeltrace2 trace --output-format=ctf --output=written\n"));
        const ToolResult result = Import("ctf", place.At("written"), place.At("again"));
        EXPECT_EQ(result.status, 0) << result.error;
        const std::vector<std::string> calls = CallsOf(place.At("again"));
        EXPECT_EQ(calls, CallsOf(place.At("capture")));
        EXPECT_EQ(calls.size(), 7u);
    }

    const Workplace place;
};

// One recording, read in three ways.
TEST_F(ImportLttng, TakesWhatItRecorded) {
    ASSERT_NO_FATAL_FAILURE(Record("all"));
    ExpectCalls();
    ExpectCallsOfMapFile();
    ExpectCallsOfAnotherWriter();
}

TEST_F(ImportLttng, WarnsOfEventsThatTellNoThread) {
    ASSERT_NO_FATAL_FAILURE(Record(""));
    const ToolResult result = Import("ctf", place.At("trace"), place.At("capture"));
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.error, AllOf(StartsWith("warning: events tell no thread"), HasSubstr("lttng add-context -u")));
    EXPECT_EQ(CallsOf(place.At("capture")).size(), 7u);
}

}  // namespace
