// What `qxlt list` shows of a recording, and the scenario that it makes of one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "Child.h"
#include "DumpWriter.h"
#include "RecordedSample.h"
#include "Workplace.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

ToolResult RunIn(const Workplace& place, const std::vector<std::string>& arguments) {
    Child::Setup setup;
    setup.directory = place.Path();
    return RunTool(arguments, setup);
}

// Cycle 1 primes; of media-server there is a call in both cycles, of tuner in the second.
void WriteCapture(const Workplace& place) {
    place.Write("capture/capture.json", R"({"version":1,"processes":{"media-server":412,"tuner":413}})");
    place.Write("capture/000001/media-server.qxdump", RecordedDump());
    place.Write("capture/000002/media-server.qxdump", RecordedDump());
    place.Write("capture/000002/tuner.qxdump", VolumeDump({1, 2, 3}));
}

// The names of the events in a script, and of those that fired.
std::set<std::string> EventsIn(const std::string& script) {
    const std::pair<const char*, const char*> entities[] = {{"&lt;", "<"},  {"&gt;", ">"},      {"&quot;", "\""},
                                                            {"&#9;", "\t"}, {"&#127;", "\x7F"}, {"&#155;", "\xC2\x9B"},
                                                            {"&amp;", "&"}};
    std::set<std::string> names;
    const std::regex event("<event name=\"([^\"]*)\"");
    for (std::sregex_iterator at(script.begin(), script.end(), event), end; at != end; ++at) {
        std::string name = (*at)[1];
        for (const auto& [entity, text] : entities) name = std::regex_replace(name, std::regex(entity), text);
        names.insert(name);
    }
    return names;
}

std::set<std::string> EventsOf(const std::string& lines) {
    std::set<std::string> names;
    for (const std::string& line : Lines(lines)) names.insert(nlohmann::json::parse(line).at("event"));
    return names;
}

// A starter scenario must pass all checks, and each of its events must fire over what it was made from.
void ExpectUsableScript(const Workplace& place, const std::string& input, const std::vector<std::string>& process) {
    const ToolResult made = RunIn(place, {"list", input, "--as-script"});
    EXPECT_EQ(made.status, 0);
    place.Write("starter.xml", made.output);
    const ToolResult checked = RunIn(place, {"check", "starter.xml"});
    EXPECT_EQ(checked.output, "");
    EXPECT_EQ(checked.status, 0);
    const ToolResult compared = RunIn(place, {"check", "starter.xml", "--against", input});
    EXPECT_EQ(compared.output.find("[QX"), std::string::npos) << compared.output;
    std::vector<std::string> arguments = {"replay", "-s", "starter.xml", "--format", "json"};
    arguments.insert(arguments.end(), process.begin(), process.end());
    arguments.push_back(input);
    const ToolResult replayed = RunIn(place, arguments);
    EXPECT_EQ(replayed.status, 0) << replayed.error;
    EXPECT_FALSE(EventsIn(made.output).empty());
    EXPECT_EQ(EventsOf(replayed.output), EventsIn(made.output));
}

}  // namespace

TEST(ListTest, KeepsTheBeginningOfAnExample) {
    const Workplace place;
    const std::string text(1000, 'x');
    const std::string bytes =
        dump::Persistent({dump::Item(dump::kHeader, dump::Header(412, "m")),
                          dump::Item(dump::kLocation,
                                     dump::Location(3).Name("Say").Arg("string", dump::kIn, dump::kVariableSize))}) +
        dump::Thread(3, dump::StreamItem(dump::kBefore, dump::Before(5, 3, dump::Variable(text))) +
                            dump::StreamItem(dump::kAfter, dump::After(2)));
    place.Write("dump", bytes);
    const std::string output = RunIn(place, {"list", "dump"}).output;
    EXPECT_NE(output.find(text.substr(0, 64)), std::string::npos) << output;
    EXPECT_EQ(output.find(text.substr(0, 65)), std::string::npos) << output;
}

TEST(ListTest, ShowsWhatADumpHolds) {
    const Workplace place;
    place.Write("a.qxdump", RecordedDump());
    const ToolResult result = RunIn(place, {"list", "a.qxdump"});
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, R"(process media-server[412]
  thread 3  mixer
      1 call   .Move  volume.cpp
         IN  0  INT    Point   {x:1 y:2}
         OUT 0  INT    Point   {x:3 y:4}
         -   -  -      double
      1 call   audio.GetLevel  volume.cpp
         IN  0  INT    int   7
         OUT 0  INT    int   9
         RET 0  INT    bool  1
      0 calls  audio.Idle  volume.cpp
      2 calls  audio.SetVolume  volume.cpp
         IN  0  INT    int  85
      1 call   audio.VolumePeak  volume.cpp
         IN  0  INT    int     99
         IN  1  STRING string  "loud"
      1 call   input.SetSource  input.cpp
         IN  0  STRING string  "hdmi"
)");
}

TEST(ListTest, PrintsJson) {
    const Workplace place;
    place.Write("a.qxdump",
                VolumeDump({85, 20}) + dump::Properties(3, dump::Item(dump::kThreadName, dump::ThreadName("m"))));
    EXPECT_EQ(RunIn(place, {"list", "a.qxdump", "--format", "json"}).output,
              R"({"record":"process","pid":0,"process":""})"
              "\n"
              R"({"record":"thread","pid":0,"tid":3,"name":"m"})"
              "\n"
              R"({"record":"method","pid":0,"locId":3,"srcCodeAux":0,"srcCodeFileRaw":"volume.cpp",)"
              R"("args":[{"type":"int","flags":1,"size":4}],"retType":"void","retSize":0,"callerName":"SetVolume",)"
              R"("packageName":"audio","calls":2,"example":{"process":"","pid":0,"tid":3,"locId":3,)"
              R"("callerName":"SetVolume","packageName":"audio","srcCodeFileRaw":"volume.cpp","time":105,)"
              R"("exitTime":2105,"in":[[{"name":"","hex":"55000000"}]],"out":[],"ret":[],"duration":2000}})"
              "\n");
}

TEST(ListTest, PrintsAMethodThatWasNotCalledWithoutExample) {
    const Workplace place;
    place.Write("a.qxdump", VolumeDump({}));
    EXPECT_THAT(Lines(RunIn(place, {"list", "a.qxdump", "--format", "json"}).output).back(),
                testing::EndsWith("\"calls\":0,\"example\":null}"));
}

TEST(ListTest, CountsAllCyclesOfACapture) {
    const Workplace place;
    WriteCapture(place);
    const std::string output = RunIn(place, {"list", "capture"}).output;
    EXPECT_THAT(output, HasSubstr("process media-server[412]\n"));
    EXPECT_THAT(output, HasSubstr("      4 calls  audio.SetVolume  volume.cpp\n"));
    EXPECT_THAT(output, HasSubstr("process tuner[413]\n      3 calls  audio.SetVolume  volume.cpp\n"));
}

// As a platform may write it that does not hold back calls which are still open.
TEST(ListTest, CountsACallThatReturnsInTheSecondCycle) {
    using namespace dump;
    const Workplace place;
    const Bytes location =
        Item(kLocation, Location(3).Name("SetVolume", "audio").Source("volume.cpp").Arg("int", kIn, 4));
    place.Write("capture/capture.json", R"({"version":1,"processes":{"m":7}})");
    place.Write("capture/000001/m.qxdump",
                Persistent(location) + Thread(3, StreamItem(kBefore, Before(105, 3, Int(85, 4)))));
    place.Write("capture/000002/m.qxdump",
                Thread(3, {StreamItem(kAfter, After(2)), StreamItem(kBefore, Before(105, 3, Int(20, 4))),
                           StreamItem(kAfter, After(2))}));
    const ToolResult result = RunIn(place, {"list", "capture"});
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "process m[7]\n      2 calls  audio.SetVolume  volume.cpp\n         IN  0  INT    int  85\n");
}

// Two names of one id: what is recorded stands once.
TEST(ListTest, ShowsWhatProcessesOfOneIdRecordOnce) {
    const Workplace place;
    place.Write("capture/capture.json", R"({"version":1,"processes":{"a":412,"b":7,"c":412}})");
    place.Write("capture/000002/a.qxdump", VolumeDump({1, 2}));
    place.Write("capture/000002/b.qxdump", VolumeDump({3}));
    const std::string method = " audio.SetVolume  volume.cpp\n         IN  0  INT    int  ";
    EXPECT_EQ(RunIn(place, {"list", "capture"}).output, "process a[412]\nprocess c[412]\n      2 calls " + method +
                                                            "1\nprocess b[7]\n      1 call  " + method + "3\n");
    std::size_t methods = 0;
    for (const std::string& line : Lines(RunIn(place, {"list", "capture", "--format", "json"}).output)) {
        methods += nlohmann::json::parse(line).at("record") == "method" ? 1u : 0u;
    }
    EXPECT_EQ(methods, 2u);
}

TEST(ListTest, TellsOfAFileThatIsNoDump) {
    const Workplace place;
    place.Write("text", "not a dump\n");
    place.Write("nothing", "");
    place.Write("good", RecordedDump());
    for (const char* const file : {"text", "nothing"}) {
        const ToolResult result = RunIn(place, {"list", "good", file});
        EXPECT_EQ(result.status, 1) << file;
        EXPECT_THAT(result.output, HasSubstr("audio.SetVolume"));
        EXPECT_EQ(result.error, std::string("error: ") + file +
                                    ": no dump, not one record is in it; name a capture, or a dump out of one\n");
    }
}

TEST(ListTest, KeepsItsStatusWhenTheReaderHasGone) {
    const Workplace place;
    std::string methods;
    for (std::uint32_t i = 0; i < 5000; ++i) {
        methods += dump::Item(dump::kLocation, dump::Location(i).Name("Method" + std::to_string(i)));
    }
    for (const bool damaged : {false, true}) {
        place.Write("a.qxdump", dump::Persistent(methods) + (damaged ? dump::Packet(9, "x") : ""));
        Child::Setup setup;
        setup.directory = place.Path();
        Child tool(ToolSetup({"list", "a.qxdump"}, setup));
        EXPECT_TRUE(tool.WaitForOutput("Method1"));
        tool.CloseOutput();
        EXPECT_EQ(tool.Finish(), damaged ? 1 : 0);
        EXPECT_EQ(Lines(tool.Error()).size(), damaged ? 1u : 0u) << tool.Error();
    }
}

TEST(ListTest, CountsSeveralDumpsOfOneProcess) {
    const Workplace place;
    place.Write("1.qxdump", RecordedDump());
    place.Write("2.qxdump", VolumeDump({1, 2, 3}));
    EXPECT_THAT(RunIn(place, {"list", "1.qxdump", "2.qxdump"}).output, HasSubstr("      5 calls  audio.SetVolume"));
}

TEST(ListTest, MakesAUsableScriptOfADump) {
    const Workplace place;
    place.Write("a.qxdump", RecordedDump());
    ExpectUsableScript(place, "a.qxdump", {"-p", "media-server=412"});
}

TEST(ListTest, MakesAUsableScriptOfACapture) {
    const Workplace place;
    WriteCapture(place);
    ExpectUsableScript(place, "capture", {});
}

// One method in two processes, and one that has a dot in its name: a check would doubt either.
TEST(ListTest, MakesAUsableScriptOfWhatChecksDoubt) {
    using namespace dump;
    const Workplace place;
    const auto recorded = [](unsigned pid, const Bytes& process) {
        return Persistent({Item(kHeader, Header(pid, process)), Item(kLocation, Location(3).Name("a.b"))}) +
               Thread(3, StreamItem(kBefore, Before(1, 3)) + StreamItem(kAfter, After(1)));
    };
    place.Write("capture/capture.json", R"({"version":1,"processes":{"one":1,"two":2}})");
    for (const char* const cycle : {"1", "2"}) {
        place.Write(std::string("capture/00000") + cycle + "/one.qxdump", recorded(1, "one"));
        place.Write(std::string("capture/00000") + cycle + "/two.qxdump", recorded(2, "two"));
    }
    ExpectUsableScript(place, "capture", {});
    EXPECT_THAT(EventsIn(place.Read("starter.xml")), ElementsAre("a.b_CALLED", "a.b_CALLED_2"));
}

// Names that need care in XML, in comments and as processes; one that no XML can hold is left out.
TEST(ListTest, MakesAUsableScriptOfAnyNames) {
    using namespace dump;
    const Workplace place;
    const Bytes call = StreamItem(kAfter, After(1));
    place.Write(
        "a.qxdump",
        Persistent({Item(kHeader, Header(7, "a-rather-long-name<&\">")),
                    Item(kLocation, Location(1).Name("operator<\"&>\t", "a--b-").Source("--\xFF-")),
                    Item(kLocation, Location(2).Name("Bad\x01", "p")),
                    Item(kLocation, Location(7).Name("c\xC2\x9B"
                                                     "d\x7F",
                                                     "p\xC2\x9B")),
                    Item(kLocation, Location(3).Name("", "p")), Item(kLocation, Location(4).Name("\xFF", "p")),
                    Item(kLocation, Location(5).Name("Same", "p").Arg("double", kIn, 8)),
                    Item(kLocation, Location(6).Name("Same", "q").Arg("int", kIn, 4))}) +
            Thread(1, {StreamItem(kBefore, Before(1, 1)), call, StreamItem(kBefore, Before(1, 2)), call,
                       StreamItem(kBefore, Before(1, 3)), call, StreamItem(kBefore, Before(1, 4)), call,
                       StreamItem(kBefore, Before(1, 5, Int(1, 8))), call, StreamItem(kBefore, Before(1, 6, Int(1, 4))),
                       call, StreamItem(kBefore, Before(1, 7)), call}));
    ExpectUsableScript(place, "a.qxdump", {"-p", "x=7"});
    EXPECT_THAT(EventsIn(place.Read("starter.xml")), ElementsAre("Same_IN0",
                                                                 "c\xC2\x9B"
                                                                 "d\x7F_CALLED",
                                                                 "operator<\"&>\t_CALLED"));
}

TEST(ListTest, MakesAUsableScriptOfAnyValues) {
    using namespace dump;
    const Workplace place;
    Bytes descriptions = Item(kHeader, Header(7, "server"));
    Bytes calls;
    std::uint32_t number = 0;
    const std::string values[] = {std::string(58, 'a') + "\xC3\xA4\xC3\xA4",
                                  std::string(57, 'a') + "\xC3\xA4\xC3\xA4",
                                  "a\xEF\xBF\xBE",
                                  "-->--",
                                  "",
                                  std::string(8000, '-')};
    for (const std::string& value : values) {
        ++number;
        descriptions +=
            Item(kLocation, Location(number).Name("M" + std::to_string(number)).Arg("s", kIn, kVariableSize));
        calls += StreamItem(kBefore, Before(1, number, Variable(value))) + StreamItem(kAfter, After(1));
    }
    place.Write("a.qxdump", Persistent(descriptions) + Thread(1, calls));
    ExpectUsableScript(place, "a.qxdump", {"-p", "server=7"});
}

TEST(ListTest, MakesACleanScriptOfNothing) {
    const Workplace place;
    place.Write("a.qxdump", VolumeDump({}));
    EXPECT_EQ(RunIn(place, {"list", "a.qxdump", "--as-script"}).output,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Scenario>\n</Scenario>\n");
}

TEST(ListTest, ReportsADamagedDumpAndShowsTheRest) {
    const Workplace place;
    const std::string good = RecordedDump();
    place.Write("a.qxdump", good + std::string("\x01\x05\x00", 3));
    const ToolResult result = RunIn(place, {"list", "a.qxdump"});
    EXPECT_THAT(result.output, HasSubstr("audio.SetVolume"));
    EXPECT_THAT(result.error, StartsWith("error: a.qxdump:" + std::to_string(good.size()) + ": damage"));
    EXPECT_EQ(result.status, 1);
}

TEST(ListTest, SaysWhyItCannotStart) {
    const Workplace place;
    Child::Setup setup;
    setup.directory = place.Path();
    setup.environment = {{"QX_RUNTIME_DIR", place.Path()}};
    struct Row {
        std::vector<std::string> arguments;
        const char* error;
    };
    const Row rows[] = {
        {{"list"}, "error: name a capture or dumps"},
        {{"list", "a.qxdump", "-p", "x"}, "error: name a capture or dumps"},
        {{"list", "a.qxdump"}, "error: a.qxdump: No such file"},
        {{"list", "."}, "error: ./capture.json: No such file"},
        {{"list", "-p", "nobody-of-that-name"}, "error: -p nobody-of-that-name: nothing is recorded under that name"},
    };
    for (const Row& row : rows) {
        const ToolResult result = RunTool(row.arguments, setup);
        EXPECT_EQ(result.status, 2) << row.error;
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, StartsWith(row.error));
        EXPECT_EQ(Lines(result.error).size(), 1u) << result.error;
    }
}

#ifdef QXLT_MEDIA_SERVER
TEST(ListTest, TakesADumpOfALiveProcess) {
    const Workplace place;
    Child::Setup setup;
    setup.environment = {{"QX_RUNTIME_DIR", place.Path()}};
    setup.directory = place.Path();
    const std::string name = place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
    setup.command = {place.At(name), "--rate", "3000"};
    Child server(setup);
    setup.command.clear();
    // It has made its first calls as soon as there is something to list.
    ToolResult result = RunTool({"list", "-p", name}, setup);
    for (int i = 0; i < 600 && result.output.find("SetMute") == std::string::npos; ++i) {
        result = RunTool({"list", "-p", name}, setup);
    }
    EXPECT_THAT(result.output, StartsWith("process " + name + "[" + std::to_string(server.Pid() & 0xFFFF) + "]\n"));
    EXPECT_THAT(result.output, HasSubstr("  mixer\n"));
    EXPECT_THAT(result.output, HasSubstr(" audio.SetVolume  volume.cpp\n         IN  0  INT    int  "));
    EXPECT_EQ(result.status, 0);
    place.Write("starter.xml", RunTool({"list", "-p", name, "--as-script"}, setup).output);
    EXPECT_EQ(RunTool({"check", "starter.xml"}, setup).output, "");
    const ToolResult run =
        RunTool({"run", "-s", "starter.xml", "--pause", "fast", "--until", "SetVolume_IN0", "--for", "30"}, setup);
    EXPECT_THAT(run.output, HasSubstr("SetVolume_IN0"));
    server.Signal(SIGTERM);
    EXPECT_EQ(server.Finish(), 0);
}
#endif
