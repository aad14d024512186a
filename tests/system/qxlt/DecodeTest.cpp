// `qxlt decode`, run as its user runs it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "Child.h"
#include "DumpWriter.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// One record of each kind.
std::string WholeDump() {
    using namespace dump;
    return Persistent({Item(kHeader, Header(412, "media-server", "1", "b", "m", "00000000", "00000000"))}) +
           Properties(3, Item(kThreadName, ThreadName("main"))) +
           Persistent({Item(kLocation, Location(3).Name("SetVolume").Arg("int", kIn, 4)),
                       Item(kDescriptor, Descriptor("Point").Member("x", 4).Member("y", 4))}) +
           Thread(3, StreamItem(kBefore, Before(105, 3, Int(85, 4))) + StreamItem(kAfter, After(2)));
}

TEST(Decode, PrintsEveryRecordAsJson) {
    const Workplace place;
    place.Write("a.qxdump", WholeDump());
    const ToolResult result =
        RunTool({"decode", "-p", "media-server=412", "--format", "json", "a.qxdump"}, {{}, {}, place.Path()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(
        Lines(result.output),
        ElementsAre(
            R"({"record":"header","pid":412,"process":"media-server","qxVersion":"1","swBuildString":"b","swVersionModel":"m","extraField1":"00000000","extraField2":"00000000"})",
            R"({"record":"thread","pid":412,"tid":3,"name":"main"})",
            R"({"record":"location","pid":412,"locId":3,"srcCodeAux":0,"srcCodeFileRaw":"volume.cpp","args":[{"type":"int","flags":1,"size":4}],"retType":"void","retSize":0,"callerName":"SetVolume","packageName":"audio"})",
            R"({"record":"descriptor","name":"Point","isContainer":0,"memberNames":["x","y"],"memberSizes":[4,4],"memberTypes":["int","int"]})",
            R"({"record":"call","key":105000,"process":"media-server","pid":412,"tid":3,"locId":3,"callerName":"SetVolume","packageName":"audio","srcCodeFileRaw":"volume.cpp","time":105,"exitTime":2105,"in":[[{"name":"","hex":"55000000","int":85}]],"out":[],"ret":[],"thread":"main","duration":2000})",
            R"({"record":"end","dump":"a.qxdump","bytes":)" + std::to_string(WholeDump().size()) +
                R"(,"calls":1,"parse":1,"extract":1})"));
}

TEST(Decode, PrintsEveryRecordAsText) {
    const Workplace place;
    place.Write("a.qxdump", WholeDump());
    const ToolResult result = RunTool({"decode", "-p", "media-server=412", "a.qxdump"}, {{}, {}, place.Path()});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(Lines(result.output),
                ElementsAre("header     media-server[412] version 1, build b, model m, extra 00000000 00000000",
                            "thread     pid 412, tid 3, main",
                            "location   pid 412, 3: audio.SetVolume(int in:4) -> void:0 in volume.cpp",
                            "descriptor Point {int x:4, int y:4}",
                            "call       media-server[412] audio.SetVolume(85) at 105, took 2.0 us, tid 3 main",
                            "end        a.qxdump: " + std::to_string(WholeDump().size()) + " bytes, 1 call"));
}

TEST(Decode, TakesTheProcessThatADumpsHeaderNames) {
    const Workplace place;
    const std::string header = dump::Persistent({dump::Item(dump::kHeader, dump::Header(413, "tuner"))});
    const ToolResult result = RunTool({"decode", "--format", "json", place.Write("a.qxdump", WholeDump()),
                                       place.Write("b.qxdump", VolumeDump({1}) + header)});
    EXPECT_THAT(result.output, HasSubstr(R"("record":"call","key":105000,"process":"media-server","pid":412,)"));
    EXPECT_THAT(result.output, HasSubstr(R"("process":"tuner","pid":413,)"));
    EXPECT_THAT(RunTool({"decode", "-p", "x=7", "--format", "json", place.At("a.qxdump")}).output,
                HasSubstr(R"("record":"call","key":105000,"process":"x","pid":7,)"));
}

TEST(Decode, LeavesAProcessThatNobodyNamesWithoutNameAndId) {
    const Workplace place;
    const ToolResult result = RunTool({"decode", "--format", "json", place.Write("a.qxdump", VolumeDump({85}))});
    EXPECT_THAT(result.output, HasSubstr(R"("record":"call","key":105000,"process":"","pid":0,)"));
}

TEST(Decode, PrintsACallWithTheLocationThatIsKnownAtTheDumpsEnd) {
    const Workplace place;
    const std::string call =
        dump::StreamItem(dump::kBefore, dump::Before(1, 3)) + dump::StreamItem(dump::kAfter, dump::After(1));
    const std::string late = dump::Persistent({dump::Item(dump::kLocation, dump::Location(3).Name("Late"))});
    const ToolResult result =
        RunTool({"decode", "--format", "json", place.Write("a.qxdump", dump::Thread(3, call) + late)});
    EXPECT_THAT(result.output, HasSubstr(R"("locId":3,"callerName":"Late")"));
}

TEST(Decode, KeepsLocationsAndDropsCallsBetweenDumps) {
    const Workplace place;
    const std::string call = dump::StreamItem(dump::kBefore, dump::Before(1, 3, dump::Int(9, 4))) +
                             dump::StreamItem(dump::kAfter, dump::After(1));
    const std::string first = place.Write("1.qxdump", VolumeDump({5}));
    const std::string second = place.Write("2.qxdump", dump::Thread(3, call));
    const ToolResult result = RunTool({"decode", first, second});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("SetVolume(5)"));
    EXPECT_THAT(result.output, HasSubstr("SetVolume(9)"));
    EXPECT_THAT(result.output,
                HasSubstr("2.qxdump: " + std::to_string(dump::Thread(3, call).size()) + " bytes, 1 call\n"));
}

TEST(Decode, ShowsTextThatIsNotUtf8RepairedAndInHex) {
    using namespace dump;
    const Workplace place;
    const std::string bytes = Persistent({Item(kLocation, Location(3).Name("S\xE9t").Arg("in\xFFt", kIn, 4)),
                                          Item(kDescriptor, Descriptor("P").Member("x\x80", 4).Member("y", 4))});
    const ToolResult result = RunTool({"decode", "--format", "json", place.Write("a.qxdump", bytes)});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output,
                HasSubstr("\"callerName\":\"S\xEF\xBF\xBDt\",\"callerNameHex\":\"53e974\",\"packageName\""));
    EXPECT_THAT(result.output, HasSubstr("\"type\":\"in\xEF\xBF\xBDt\",\"typeHex\":\"696eff74\",\"flags\""));
    EXPECT_THAT(result.output,
                HasSubstr("\"memberNames\":[\"x\xEF\xBF\xBD\",\"y\"],\"memberNamesHex\":[\"7880\",\"79\"],"));
}

TEST(Decode, GoesOnAfterADamagedDump) {
    const Workplace place;
    const std::string good = VolumeDump({5});
    const std::string first = place.Write("1.qxdump", good);
    const std::string bad = place.Write("2.qxdump", good + dump::Packet(9, "x"));
    const std::string last = place.Write("3.qxdump", VolumeDump({7}));
    const ToolResult result = RunTool({"decode", "--format", "json", first, bad, last});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr(R"("parse":0,"extract":1})"));
    EXPECT_THAT(result.output, HasSubstr(R"("hex":"07000000")"));
    EXPECT_THAT(result.error, testing::StartsWith("error: " + bad + ":" + std::to_string(good.size()) + ": damage"));
    EXPECT_EQ(Lines(result.error).size(), 1u);
}

TEST(Decode, ReportsDamageInAThreadsStream) {
    const Workplace place;
    const std::string bytes = VolumeDump({5}) + dump::Thread(3, dump::StreamItem(dump::kAfter, dump::After(1)));
    const std::string file = place.Write("a.qxdump", bytes);
    const ToolResult result = RunTool({"decode", "--format", "json", file});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr(R"("parse":1,"extract":0})"));
    EXPECT_THAT(result.error, HasSubstr(file + ":" + std::to_string(bytes.size()) + ": damage in the joined streams"));
}

TEST(Decode, TakesAStreamThatIsMerelyCutForGood) {
    const Workplace place;
    const std::string item = dump::StreamItem(dump::kBefore, dump::Before(1, 3, dump::Int(9, 4)));
    const ToolResult result =
        RunTool({"decode", place.Write("a.qxdump", VolumeDump({5}) + dump::Thread(3, item.substr(0, 1)))});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
}

TEST(Decode, SurvivesEveryPrefixOfADump) {
    const Workplace place;
    const std::string whole = WholeDump();
    std::vector<std::string> arguments = {"decode", "--format", "json"};
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        arguments.push_back(place.Write(std::to_string(size), whole.substr(0, size)));
    }
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("/" + std::to_string(whole.size()) + R"(","bytes":)"));
}

TEST(Decode, TakesAnEmptyDump) {
    const Workplace place;
    place.Write("a.qxdump", "");
    const ToolResult result = RunTool({"decode", "--format", "json", "a.qxdump"}, {{}, {}, place.Path()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "{\"record\":\"end\",\"dump\":\"a.qxdump\",\"bytes\":0,\"calls\":0,\"parse\":1,\"extract\":1}\n");
}

TEST(Decode, StartsNothingWhenAFileCannotBeRead) {
    const Workplace place;
    const std::string good = place.Write("a.qxdump", VolumeDump({5}));
    const std::vector<std::pair<std::string, std::string>> bad = {{place.Path(), "Is a directory"},
                                                                  {place.At("none"), "No such file or directory"}};
    for (const auto& [path, reason] : bad) {
        const ToolResult result = RunTool({"decode", good, path});
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, "error: " + path + ": " + reason + "; name a file that can be read\n");
    }
}

TEST(Decode, TellsOfAFileWhoseReadingFails) {
    const ToolResult result = RunTool({"decode", "/proc/self/mem"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error, "error: /proc/self/mem: Input/output error; name a file that can be read\n");
}

TEST(Decode, WritesEachLineAsItComes) {
    const Workplace place;
    const std::string pipe = place.At("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    Child tool(ToolSetup({"decode", "--format", "json", place.Write("a.qxdump", VolumeDump({5})), pipe}));
    EXPECT_TRUE(tool.WaitForOutput("\"record\":\"end\""));
    const int writer = open(pipe.c_str(), O_WRONLY);
    const std::string second = VolumeDump({6});
    EXPECT_EQ(write(writer, second.data(), second.size()), static_cast<ssize_t>(second.size()));
    close(writer);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Output(), HasSubstr(R"("hex":"06000000")"));
}

TEST(Decode, EndsQuietlyWhenTheReaderHasGone) {
    const Workplace place;
    const std::string pipe = place.At("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    Child tool(ToolSetup({"decode", place.Write("a.qxdump", VolumeDump({5})), pipe}));
    EXPECT_TRUE(tool.WaitForOutput("end "));
    tool.CloseOutput();
    const int writer = open(pipe.c_str(), O_WRONLY);
    EXPECT_GT(write(writer, "x", 1), 0);
    close(writer);
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_EQ(tool.Error(), "");
}

TEST(Decode, KeepsItsStatusWhenTheReaderHasGone) {
    const Workplace place;
    const std::string pipe = place.At("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    Child tool(ToolSetup({"decode", place.Write("a.qxdump", VolumeDump({5}) + dump::Packet(9, "x")), pipe}));
    EXPECT_TRUE(tool.WaitForOutput("end "));
    tool.CloseOutput();
    std::ofstream(pipe, std::ios::binary) << VolumeDump({6});
    EXPECT_EQ(tool.Finish(), 1);
    EXPECT_EQ(Lines(tool.Error()).size(), 1u) << tool.Error();
}

TEST(Decode, TellsThatItsOutputCannotBeWritten) {
    const Workplace place;
    Child::Setup setup;
    setup.output = "/dev/full";
    const ToolResult result = RunTool({"decode", place.Write("a.qxdump", VolumeDump({5}))}, setup);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, "error: standard output: No space left on device; results are lost\n");
}

TEST(Decode, PrintsDiagnosticsOnlyWhenAsked) {
    const Workplace place;
    const std::string bad = place.Write("a.qxdump", dump::Packet(9, "x"));
    const ToolResult silent = RunTool({"decode", bad});
    const ToolResult major = RunTool({"decode", "--level", "major", bad});
    const ToolResult info = RunTool({"decode", "--level", "info", bad});
    EXPECT_EQ(Lines(silent.error).size(), 1u);
    EXPECT_THAT(major.error, HasSubstr("Exception : 0"));
    EXPECT_THAT(major.error, testing::Not(HasSubstr("PERR_INVALID_TAG")));
    EXPECT_THAT(info.error, HasSubstr("QxParser::Payload throw PERR_INVALID_TAG, tag = [9]"));
    EXPECT_EQ(silent.output, info.output);
}

TEST(Decode, RegistersTheProcess) {
    const Workplace place;
    const std::string dump = place.Write("a.qxdump", VolumeDump({5}));
    EXPECT_THAT(RunTool({"decode", "-p", "a=b=7", dump}).output, HasSubstr("a=b[7] "));
    EXPECT_THAT(RunTool({"decode", "-p", "tuner", dump}).output, HasSubstr("tuner[0] "));
    const ToolResult large = RunTool({"decode", "-p", "tuner=65537", dump});
    EXPECT_THAT(large.output, HasSubstr("tuner[1] "));
    EXPECT_EQ(large.error, "warning: tuner: process id 65537 does not fit 16 bits and counts as 1\n");
    EXPECT_EQ(RunTool({"decode", "-p", "tuner=x", dump}).status, 2);
    EXPECT_EQ(RunTool({"decode", "-p", "=1", dump}).status, 2);
}

TEST(Decode, EscapesWhatATerminalWouldObey) {
    const Workplace place;
    const std::string bytes =
        dump::Properties(3, dump::Item(dump::kThreadName, dump::ThreadName("a\033[2Jb\n\xC2\x9B")));
    const ToolResult result = RunTool({"decode", place.Write("a.qxdump", bytes)});
    EXPECT_EQ(Lines(result.output).front(), "thread     pid 0, tid 3, a\\x1b[2Jb\\n\\xc2\\x9b");
}

// The store keeps no calls and the tool no bytes from dump to dump.
TEST(Decode, NeedsNoMoreMemoryForManyDumps) {
    const Workplace place;
    const std::string dump = place.Write("a.qxdump", VolumeDump(std::vector<int>(20000, 5)));
    Child::Setup setup;
    setup.output = "/dev/null";
    setup.environment = {{"ASAN_OPTIONS", "quarantine_size_mb=1"}};  // a sanitizer keeps what was freed
    const ToolResult one = RunTool({"decode", dump}, setup);
    std::vector<std::string> arguments = {"decode"};
    arguments.insert(arguments.end(), 20, dump);
    const ToolResult many = RunTool(arguments, setup);
    EXPECT_EQ(many.status, 0);
    EXPECT_LT(many.largestSize, one.largestSize * 5 / 4);
}

}  // namespace
