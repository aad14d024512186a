// Captures as other viewers read them.
#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "NestedCapture.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Json = nlohmann::json;

constexpr char kBabeltrace[] = "/usr/bin/babeltrace2";
constexpr char kNode[] = "/usr/bin/node";
const std::string kViewers = QXLT_SOURCE_DIR "/tests/viewers/";

constexpr char kLoud[] =
    "<event name=\"LOUD\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"CONDITIONAL\" condition=\"&gt;\" "
    "conditionValue=\"80\"/>";

ToolResult Export(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"export"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return RunTool(all);
}

// The events of the trace of that phase.
std::vector<Json> EventsOf(const std::string& trace, const std::string& phase) {
    const Json all = Json::parse(trace);
    std::vector<Json> events;
    for (const Json& event : all.at("traceEvents")) {
        if (event.at("ph") == phase) events.push_back(event);
    }
    return events;
}

std::vector<std::string> LinesOf(Child::Setup setup) {
    Child child(setup);
    EXPECT_EQ(child.Finish(), 0) << child.Error();
    EXPECT_EQ(child.Error(), "");
    return Lines(child.Output());
}

Child::Setup Command(std::vector<std::string> command) {
    Child::Setup setup;
    setup.command = std::move(command);
    return setup;
}

// What the reader of CTF makes of a trace; times are those of the recordings' clock.
std::vector<std::string> ReadCtf(const std::string& directory) {
    return LinesOf(Command({kBabeltrace, "--clock-cycles", "--no-delta", directory}));
}

// The viewer's own import, one line for each thread.
std::vector<Json> Imported(const std::string& file) {
    std::vector<Json> threads;
    for (const std::string& line : LinesOf(Command({kNode, kViewers + "speedscope-import.mjs", file}))) {
        threads.push_back(Json::parse(line));
    }
    return threads;
}

std::string HostileCapture(const Workplace& place) {
    using namespace dump;
    place.Write("capture/capture.json", CaptureFile("\"</script>\\\"\":7"));
    place.Write("capture/000002/%3C%2Fscript%3E%22.qxdump",
                Persistent({Item(kLocation, Location(3)
                                                .Name("\x1b]0;\"x\x07", "\xFF{}")
                                                .Arg("std::string", kIn, kVariableSize)
                                                .Arg("std::string", kIn, kVariableSize))}) +
                    Properties(3, Item(kThreadName, ThreadName("a\"b\\\n\xC0"))) +
                    Thread(3, {StreamItem(kBefore, Before(5, 3, Variable(Bytes("\0\xFF", 2)) + Variable("\"\n"))),
                               StreamItem(kAfter, After(1))}));
    return place.At("capture");
}

TEST(ExportChrome, MakesSlicesOfCalls) {
    const Workplace place;
    const ToolResult result = Export({"--format", "chrome", NestedCapture(place)});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    std::vector<std::string> slices;
    for (const Json& event : EventsOf(result.output, "X")) slices.push_back(event.dump());
    EXPECT_THAT(
        slices,
        ElementsAre(
            R"({"args":{"in.0":"hd\"mi","ret":-1,"source":"volume.cpp"},"cat":"call","dur":6.0,"name":"audio.Play","ph":"X","pid":7,"tid":3,"ts":0.105})",
            R"({"args":{"in.0":20,"source":"volume.cpp"},"cat":"call","dur":4.0,"name":"audio.SetVolume","ph":"X","pid":7,"tid":4,"ts":0.3})",
            R"({"args":{"in.0":85,"source":"volume.cpp"},"cat":"call","dur":2.0,"name":"audio.SetVolume","ph":"X","pid":7,"tid":3,"ts":1.105})",
            R"({"args":{"in.0":"{x:1 y:2}","out.0":255,"source":"volume.cpp"},"cat":"call","dur":1.0,"name":"audio.Move","ph":"X","pid":7,"tid":3,"ts":6.2})"));
}

TEST(ExportChrome, MakesInstantsOfTheOthers) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kLoud, "m"));
    const ToolResult result = Export({"--format", "chrome", NestedCapture(place), "-s", script});
    EXPECT_EQ(result.status, 0) << result.error;
    std::vector<std::string> instants;
    for (const Json& event : EventsOf(result.output, "i")) instants.push_back(event.dump());
    EXPECT_THAT(
        instants,
        ElementsAre(
            R"({"args":{"call":"audio.SetVolume","cycle":2,"value":"85"},"cat":"event","name":"LOUD","ph":"i","pid":7,"s":"t","tid":3,"ts":1.105})",
            R"({"args":{"in.0":true,"in.1":2.5,"source":"volume.cpp"},"cat":"call","name":"audio.Log","ph":"i","pid":7,"s":"t","tid":3,"ts":3.11})",
            HasSubstr(
                R"("overwritten":3,"recorded":9,"refused":2},"cat":"loss","name":"lost","ph":"i","pid":7,"s":"p",)")));
}

TEST(ExportChrome, NamesProcessesAndThreads) {
    const Workplace place;
    const std::string trace = Export({"--format", "chrome", NestedCapture(place)}).output;
    std::vector<std::string> names;
    for (const Json& event : EventsOf(trace, "M")) {
        names.push_back(event.at("name").get<std::string>() + " " + event.at("args").at("name").get<std::string>());
    }
    EXPECT_THAT(names, ElementsAre("process_name m", "thread_name mixer"));
}

TEST(ExportChrome, IsReadByAViewer) {
    if (!std::filesystem::exists(kNode) || !std::filesystem::exists(kViewers + "node_modules/speedscope")) {
        GTEST_SKIP() << "speedscope is not installed: scripts/install-deps does that where there is npm";
    }
    const Workplace place;
    const std::string file = place.At("trace.json");
    const ToolResult result = Export({"--format", "chrome", NestedCapture(place), "-o", file});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "");
    const std::vector<Json> threads = Imported(file);
    ASSERT_EQ(threads.size(), 2u);
    EXPECT_EQ(threads[0].at("thread"), "m (pid 7), mixer (tid 3)");
    EXPECT_EQ(threads[0].at("unit"), "microseconds");
    const Json& calls = threads[0].at("calls");
    ASSERT_EQ(calls.size(), 3u);
    const std::size_t depths[] = {0, 1, 0};
    const double durations[] = {6, 2, 1};
    const char* const names[] = {R"(audio.Play {"in.0":"hd\"mi","ret":-1,"source":"volume.cpp"})",
                                 R"(audio.SetVolume {"in.0":85,"source":"volume.cpp"})",
                                 R"(audio.Move {"in.0":"{x:1 y:2}","out.0":255,"source":"volume.cpp"})"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(calls[i].at("depth"), depths[i]) << i;
        EXPECT_NEAR(calls[i].at("end").get<double>() - calls[i].at("begin").get<double>(), durations[i], 1e-6) << i;
        EXPECT_EQ(calls[i].at("name"), names[i]);
    }
    EXPECT_EQ(threads[1].at("calls").size(), 1u);
}

TEST(ExportChrome, TakesAnyNameAndValue) {
    const Workplace place;
    const std::string capture = HostileCapture(place);
    const ToolResult result = Export({"--format", "chrome", capture});
    EXPECT_EQ(result.status, 0) << result.error;
    const std::vector<Json> calls = EventsOf(result.output, "X");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].at("name"), "\\xff{}.\\x1b]0;\"x\\x07");
    EXPECT_EQ(calls[0].at("args").at("in.0Hex"), "00ff");
    EXPECT_EQ(calls[0].at("args").at("in.1"), "\"\n");
    if (!std::filesystem::exists(kNode) || !std::filesystem::exists(kViewers + "node_modules/speedscope")) return;
    const std::vector<Json> threads = Imported(place.Write("trace.json", result.output));
    ASSERT_EQ(threads.size(), 1u);
    EXPECT_THAT(threads[0].at("thread").get<std::string>(), StartsWith("</script>\" (pid 7), a\"b\\\n"));
}

TEST(ExportChrome, IsWholeWithoutACall) {
    const Workplace place;
    place.Write("capture/capture.json", CaptureFile("\"m\":7"));
    const ToolResult result = Export({"--format", "chrome", place.At("capture")});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(Json::parse(result.output).at("traceEvents"), IsEmpty());
}

TEST(ExportCtf, IsReadBackWithItsValues) {
    if (!std::filesystem::exists(kBabeltrace)) GTEST_SKIP() << kBabeltrace << " is not installed";
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kLoud, "m"));
    const ToolResult result = Export({"--format", "ctf", NestedCapture(place), "-o", place.At("trace"), "-s", script});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(
        ReadCtf(place.At("trace")), ElementsAre(
                                        R"([00000000000000000105] call_entry: { process = "m", pid = 7, tid = 3, thread = "mixer" }, { method = "audio.Play", source = "volume.cpp", in_size = 1, in_values = [ [0] = { pairs_size = 1, pairs = [ [0] = { name = "", kind = ( "text" : container = 4 ), value = { "hd\"mi" } } ] } ] })",
                                        R"([00000000000000000300] call_entry: { process = "m", pid = 7, tid = 4, thread = "" }, { method = "audio.SetVolume", source = "volume.cpp", in_size = 1, in_values = [ [0] = { pairs_size = 1, pairs = [ [0] = { name = "", kind = ( "signed_number" : container = 0 ), value = { 20 } } ] } ] })",
                                        R"([00000000000000001105] call_entry: { process = "m", pid = 7, tid = 3, thread = "mixer" }, { method = "audio.SetVolume", source = "volume.cpp", in_size = 1, in_values = [ [0] = { pairs_size = 1, pairs = [ [0] = { name = "", kind = ( "signed_number" : container = 0 ), value = { 85 } } ] } ] })",
                                        R"([00000000000000001105] scenario_event: { process = "m", pid = 7, tid = 3, thread = "mixer" }, { name = "LOUD", value = "85", method = "audio.SetVolume", cycle = 2 })", R"([00000000000000003105] call_exit: { process = "m", pid = 7, tid = 3, thread = "mixer" }, { method = "audio.SetVolume", duration = 2000, out_size = 0, out_values = [ ], ret_size = 0, ret_values = [ ] })", R"([00000000000000003110] call_without_exit: { process = "m", pid = 7, tid = 3, thread = "mixer" }, { method = "audio.Log", source = "volume.cpp", in_size = 2, in_values = [ [0] = { pairs_size = 1, pairs = [ [0] = { name = "", kind = ( "boolean" : container = 3 ), value = { 1 } } ] }, [1] = { pairs_size = 1, pairs = [ [0] = { name = "", kind = ( "real" : container = 2 ), value = { 2.5 } } ] } ] })", R"([00000000000000004300] call_exit: { process = "m", pid = 7, tid = 4, thread = "" }, { method = "audio.SetVolume", duration = 4000, out_size = 0, out_values = [ ], ret_size = 0, ret_values = [ ] })", R"([00000000000000006105] call_exit: { process = "m", pid = 7, tid = 3, thread = "mixer" }, { method = "audio.Play", duration = 6000, out_size = 0, out_values = [ ], ret_size = 1, ret_values = [ [0] = { pairs_size = 1, pairs = [ [0] = { name = "", kind = ( "signed_number" : container = 0 ), value = { -1 } } ] } ] })", R"([00000000000000006200] call_entry: { process = "m", pid = 7, tid = 3, thread = "mixer" }, { method = "audio.Move", source = "volume.cpp", in_size = 1, in_values = [ [0] = { pairs_size = 2, pairs = [ [0] = { name = "x", kind = ( "signed_number" : container = 0 ), value = { 1 } }, [1] = { name = "y", kind = ( "signed_number" : container = 0 ), value = { 2 } } ] } ] })",
                                        R"([00000000000000007200] call_exit: { process = "m", pid = 7, tid = 3, thread = "mixer" }, { method = "audio.Move", duration = 1000, out_size = 1, out_values = [ [0] = { pairs_size = 1, pairs = [ [0] = { name = "", kind = ( "unsigned_number" : container = 1 ), value = { 255 } } ] } ], ret_size = 0, ret_values = [ ] })",
                                        R"([00000000000000007200] loss: { process = "m", pid = 7, tid = 0, thread = "" }, { cycle = 2, recorded = 9, delivered = 4, open = 0, overwritten = 3, refused = 2, dropped = 0, exits_dropped = 0, bytes_not_decoded = 0 })"));
}

// As the wall clock has them, where the capture knows it.
TEST(ExportCtf, HasTheTimesOfTheDay) {
    if (!std::filesystem::exists(kBabeltrace)) GTEST_SKIP() << kBabeltrace << " is not installed";
    const Workplace place;
    const std::string capture = NestedCapture(place);
    place.Write("capture/capture.json", R"({"version":1,"processes":{"m":7},"clock_offset":1772368200000000007})");
    ASSERT_EQ(Export({"--format", "ctf", capture, "-o", place.At("trace")}).status, 0);
    const std::vector<std::string> lines =
        LinesOf(Command({kBabeltrace, "--clock-date", "--clock-gmt", "--no-delta", place.At("trace")}));
    ASSERT_EQ(lines.size(), 10u);
    EXPECT_THAT(lines[0], StartsWith("[2026-03-01 12:30:00.000000112] call_entry: "));
}

// The caller comes two cycles after the call that it made.
TEST(ExportCtf, PutsWhatComesLateIntoItsPlace) {
    if (!std::filesystem::exists(kBabeltrace)) GTEST_SKIP() << kBabeltrace << " is not installed";
    using namespace dump;
    const Workplace place;
    const std::string capture = NestedCapture(place);
    place.Write("capture/000003/m.qxdump",
                Thread(4, {StreamItem(kBefore, Before(200, 3, Int(30, 4))), StreamItem(kAfter, After(9))}));
    ASSERT_EQ(Export({"--format", "ctf", capture, "-o", place.At("trace"), "--history"}).status, 0);
    EXPECT_TRUE(std::filesystem::exists(place.At("trace/stream_1")));
    std::vector<std::string> times;
    for (const std::string& line : ReadCtf(place.At("trace"))) times.push_back(line.substr(0, line.find(']') + 1));
    EXPECT_EQ(times.size(), 12u);
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
}

TEST(ExportCtf, TakesAnyNameAndValue) {
    if (!std::filesystem::exists(kBabeltrace)) GTEST_SKIP() << kBabeltrace << " is not installed";
    const Workplace place;
    ASSERT_EQ(Export({"--format", "ctf", HostileCapture(place), "-o", place.At("trace")}).status, 0);
    const std::vector<std::string> lines = ReadCtf(place.At("trace"));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_THAT(lines[0], HasSubstr(R"(process = "</script>\"", pid = 7, tid = 3, thread = )"));
    EXPECT_THAT(lines[0], HasSubstr(R"(value = { { size = 2, raw = [ [0] = 0x0, [1] = 0xFF ] } })"));
    EXPECT_THAT(lines[0], HasSubstr(R"(value = { "\"\n" })"));
}

TEST(ExportCtf, LeavesOutTimesThatReadersDoNotCount) {
    if (!std::filesystem::exists(kBabeltrace)) GTEST_SKIP() << kBabeltrace << " is not installed";
    using namespace dump;
    const Workplace place;
    const std::string capture = NestedCapture(place);
    place.Write("capture/000003/m.qxdump",
                Thread(4, {StreamItem(kBefore, Before(std::uint64_t{1} << 63, 3, Int(30, 4)))}));
    const ToolResult result = Export({"--format", "ctf", capture, "-o", place.At("trace")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "warning: 1 item beyond the times that the format has; left out\n");
    EXPECT_EQ(ReadCtf(place.At("trace")).size(), 10u);
}

TEST(Export, SaysWhatItNeeds) {
    const Workplace place;
    const std::string capture = NestedCapture(place);
    EXPECT_EQ(Export({capture}).status, 2);
    EXPECT_EQ(Export({"--format", "json", capture}).status, 2);
    EXPECT_EQ(Export({"--format", "ctf", capture}).error,
              "error: a CTF trace is a directory; name a new one with -o\n");
    EXPECT_THAT(Export({"--format", "ctf", capture, "-o", capture}).error, HasSubstr("is not empty"));
    EXPECT_THAT(Export({"--format", "chrome", capture, "-o", place.At("no/file")}).error,
                HasSubstr("name a file that can be written"));
    const ToolResult missing = Export({"--format", "ctf", place.At("missing"), "-o", place.At("trace")});
    EXPECT_EQ(missing.status, 2);
    EXPECT_FALSE(std::filesystem::exists(place.At("trace")));
    const ToolResult script = Export({"--format", "chrome", capture, "-s", place.At("no.xml"), "-o", place.At("t")});
    EXPECT_EQ(script.status, 2);
    EXPECT_FALSE(std::filesystem::exists(place.At("t")));
}

TEST(Export, TellsWhatIsWrongInTheCapture) {
    const Workplace place;
    const std::string capture = NestedCapture(place);
    place.Write("capture/000002/m.qxdump", LaterCall(21) + dump::Packet(9, "x"));
    const ToolResult result = Export({"--format", "chrome", capture});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("000002/m.qxdump"));
    EXPECT_EQ(EventsOf(result.output, "X").size(), 4u);
}

TEST(Export, SaysThatAFileCouldNotBeWritten) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "/dev/full is not there";
    const Workplace place;
    const ToolResult result = Export({"--format", "chrome", NestedCapture(place), "-o", "/dev/full"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, StartsWith("error: /dev/full: not all could be written"));
}

}  // namespace
