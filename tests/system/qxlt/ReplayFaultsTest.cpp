// What `qxlt replay` says of input that is wrong, and how it goes on.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

TEST(Replay, RunsNothingForAScriptThatIsNotWellFormed) {
    const Workplace place;
    const std::string good = place.Write("good.xml", VolumeScript(kEveryVolume));
    const std::string dump = place.Write("a", VolumeDump({5}));
    const std::vector<std::pair<std::string, std::string>> bad = {
        {"", ":1:1: not well-formed, no element found"},
        {"<Scenario>\n  <action>\n</Scenario>", ":3:3: not well-formed, mismatched tag"},
        {"<Scenario a=\"1\" a=\"2\"/>", ":1:17: not well-formed, duplicate attribute"}};
    for (const auto& [text, said] : bad) {
        const std::string script = place.Write("bad.xml", text);
        const ToolResult result = RunTool({"replay", "-s", good, script, "-p", "m=1", dump});
        EXPECT_EQ(result.status, 1) << text;
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, HasSubstr("error: " + script + said));
    }
}

TEST(Replay, WarnsOfATopElementThatRunsNothing) {
    const Workplace place;
    const std::string script = place.Write("v.xml", "\n<scenario/>");
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", place.Write("a", VolumeDump({5}))});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.error, StartsWith("warning: " + script + ":2: no kind of script is called \"scenario\""));
}

TEST(Replay, ReportsAnEventInErrorOnceAndGoesOn) {
    const Workplace place;
    const std::string events =
        R"(<event name="BAD" tag="IN" value="first" type="INT" watch="ALWAYS"/>)" + std::string(kEveryVolume);
    const std::string script = place.Write("v.xml", VolumeScript(events));
    const ToolResult result =
        RunTool({"replay", "-s", script, "-p", "m=1", "--format", "json", place.Write("a", VolumeDump({5, 6}))});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(Values(result.output), ElementsAre("5", "6"));
    EXPECT_THAT(
        Lines(result.error),
        ElementsAre(StartsWith("error: " + script + ":4: event \"BAD\" at time 105, the index \"first\" is no")));
}

TEST(Replay, ReportsADamagedDumpAndGoesOn) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile("\"m\":1"));
    const std::string bad = place.Write("capture/000002/m.qxdump", VolumeDump({5}) + dump::Packet(9, "x"));
    place.Write("capture/000003/m.qxdump", LaterCall(6));
    const ToolResult result = RunTool({"replay", "-s", script, "--format", "json", place.At("capture")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(Values(result.output), ElementsAre("5", "6"));
    EXPECT_THAT(result.error, StartsWith("error: " + bad + ":" + std::to_string(VolumeDump({5}).size()) + ": damage"));
}

TEST(Replay, WarnsOfFilesThatBelongToNoCycleOrProcess) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile("\"m\":1"));
    const std::string stranger = place.Write("capture/000002/n.qxdump", VolumeDump({5}));
    const std::string notes = place.Write("capture/notes.txt", "my own");
    const ToolResult result = RunTool({"replay", "-s", script, place.At("capture")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "warning: " + notes + ": belongs to no cycle; it is not replayed\nwarning: " + stranger +
                                ": belongs to no process of capture.json; it is not replayed\n");
}

TEST(Replay, CountsTheEventsInError) {
    const Workplace place;
    const std::string script =
        place.Write("v.xml", VolumeScript(R"(<event name="E" tag="IN" value="x" type="INT" watch="ALWAYS"/>)"));
    const ToolResult result = RunTool({"replay", "-s", script, "--format", "json", LossyCapture(place)});
    EXPECT_THAT(result.output, HasSubstr(R"("eventsInError":2,)"));
}

// The library's texts name the sizes, which differ from call to call.
TEST(Replay, CountsTheErrorsOfOneKindTogether) {
    const Workplace place;
    const std::string script = place.Write(
        "v.xml", VolumeScript(R"(<event name="E" tag="IN" value="0" type="INT" filter="1" datakey="zzzzzzzz&amp;"/>)"));
    const std::string dump = place.Write("a", VolumeDump({1, 10, 100, 5, 5}));
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", "--explain", dump});
    EXPECT_EQ(Lines(result.output).back(), "    3 calls: the datakey \"zzzzzzzz&\" is past the end");
}

// What came before has been printed: the rest, the explanation and the account come, too.
TEST(Replay, GoesOnAfterWhatCannotBeReadInALaterCycle) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string capture = LossyCapture(place);
    place.Write("capture/000002/m.qxdump", LaterCall(2));
    place.Write("capture/000003/m.qxdump/inside", "");
    place.Write("capture/000003/n.qxloss/inside", "");
    place.Write("capture/000004/m.qxdump", LaterCall(4));
    const ToolResult result = RunTool({"replay", "-s", script, "--explain", "--format", "json", capture});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(
        Lines(result.error),
        UnorderedElementsAre(StartsWith("error: " + capture + "/000003/m.qxdump: Is a directory"),
                             StartsWith("error: " + capture + "/000003/n.qxloss: no counts of recorded calls")));
    EXPECT_THAT(result.output, HasSubstr(R"({"cycle":4,"event":"VOLUME","value":"4",)"));
    EXPECT_THAT(result.output, HasSubstr(R"({"explained":"VOLUME",)"));
    EXPECT_THAT(result.output, HasSubstr(R"({"total":{"process":"m","recorded":12,)"));
}

TEST(Replay, WaitsForNoPipeInACapture) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string capture = LossyCapture(place);
    const std::string path = place.At("capture/000003");
    std::filesystem::create_directory(path);
    const std::vector<std::pair<std::string, std::string>> rows = {{"/m.qxdump", ": is no regular file"},
                                                                   {"/m.qxloss", ": no counts of recorded calls"},
                                                                   {"/m.qxlife", ": not what became of the process"}};
    for (const auto& [name, said] : rows) {
        ASSERT_EQ(mkfifo((path + name).c_str(), 0600), 0);
        const ToolResult result = RunTool({"replay", "-s", script, capture});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.error, HasSubstr("error: " + path + name + said));
        std::filesystem::remove(path + name);
    }
}

TEST(Replay, WaitsForNoPipeInPlaceOfTheDescription) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string description = place.Write("capture/capture.json", "");
    std::filesystem::remove(description);
    ASSERT_EQ(mkfifo(description.c_str(), 0600), 0);
    const ToolResult result = RunTool({"replay", "-s", script, place.At("capture")});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, StartsWith("error: " + description + ": is no regular file; name a directory"));
}

struct BadInput {
    std::string name;
    std::vector<std::string> arguments;  // relative to the workplace
    std::string said;
};

class ReplayOfBadInput : public testing::TestWithParam<BadInput> {};

TEST_P(ReplayOfBadInput, DoesNotStart) {
    const Workplace place;
    place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("a.qxdump", VolumeDump({5}));
    place.Write("nothing/x", "");
    place.Write("text/capture.json", "{\"version\":1,");
    place.Write("new/capture.json", "{\"version\":2,\"processes\":{}}");
    place.Write("list/capture.json", "{\"version\":1,\"processes\":[1]}");
    place.Write("large/capture.json", CaptureFile("\"m\":65536"));
    place.Write("negative/capture.json", CaptureFile("\"m\":-1"));
    place.Write("huge/capture.json", CaptureFile("\"m\":18446744073709551616"));
    place.Write("infinite/capture.json", CaptureFile("\"m\":1e999"));
    place.Write("deep/capture.json", CaptureFile("\"m\":" + std::string(1000000, '[')));
    place.Write("long/capture.json", CaptureFile(std::string(17 << 20, ' ')));
    place.Write("noon/capture.json", CaptureFile("\"m\":1", "\"noon\""));
    place.Write("early/capture.json", CaptureFile("\"m\":1", "-1"));
    place.Write("late/capture.json", CaptureFile("\"m\":1", "18446744073709551"));
    place.Write("escape/capture.json", CaptureFile("\"\\u001b[2Jm\":65536"));
    place.Write("good/capture.json", CaptureFile("\"m\":1"));
    place.Write("dir/capture.json", CaptureFile("\"m\":1"));
    place.Write("dir/000001/m.qxdump/x", "");
    std::vector<std::string> arguments = {"replay"};
    arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    Child::Setup setup;
    setup.directory = place.Path();
    const ToolResult result = RunTool(arguments, setup);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, StartsWith("error: " + GetParam().said));
    EXPECT_EQ(Lines(result.error).size(), 1u) << result.error;
}

INSTANTIATE_TEST_SUITE_P(
    Replay, ReplayOfBadInput,
    testing::Values(
        BadInput{"NoScript", {"-s", "none.xml", "good"}, "none.xml: No such file"},
        BadInput{"ScriptIsDirectory", {"-s", "nothing", "good"}, "nothing: Is a directory"},
        BadInput{"NoProcess", {"-s", "v.xml", "a.qxdump"}, "whose dumps these are is not known; add -p"},
        BadInput{"ProcessOfCapture", {"-s", "v.xml", "-p", "m=1", "good"}, "a capture names its processes itself"},
        BadInput{"NoDump", {"-s", "v.xml", "-p", "m=1", "none"}, "none: No such file"},
        BadInput{"DirectoryAmongDumps", {"-s", "v.xml", "-p", "m=1", "a.qxdump", "good"}, "good: Is a directory"},
        BadInput{"BadId", {"-s", "v.xml", "-p", "m=1x", "a.qxdump"}, "-p m=1x: the process id is no number"},
        BadInput{"NoCapture", {"-s", "v.xml", "nothing"}, "nothing/capture.json: No such file"},
        BadInput{"CutCapture", {"-s", "v.xml", "text"}, "text/capture.json:14: not JSON"},
        BadInput{"NewCapture", {"-s", "v.xml", "new"}, "new/capture.json: a version of captures that is not known"},
        BadInput{
            "ListOfProcesses", {"-s", "v.xml", "list"}, "list/capture.json: holds no \"version\", or no \"processes\""},
        BadInput{"LargeId", {"-s", "v.xml", "large"}, "large/capture.json: m: no process id of 16 bits"},
        BadInput{"NegativeId", {"-s", "v.xml", "negative"}, "negative/capture.json: m: no process id of 16 bits"},
        BadInput{"HugeId", {"-s", "v.xml", "huge"}, "huge/capture.json: m: no process id of 16 bits"},
        BadInput{"InfiniteId", {"-s", "v.xml", "infinite"}, "infinite/capture.json: holds a number out of range"},
        BadInput{"DeepCapture", {"-s", "v.xml", "deep"}, "deep/capture.json: nested more than 64 deep"},
        BadInput{"LongCapture", {"-s", "v.xml", "long"}, "long/capture.json: larger than 16777216 bytes"},
        BadInput{"SinceIsNoNumber", {"-s", "v.xml", "noon"}, "noon/capture.json: \"since\" is no time in nanoseconds"},
        BadInput{"SinceIsNegative", {"-s", "v.xml", "early"}, "early/capture.json: \"since\" is no time"},
        BadInput{"SinceIsTooLarge", {"-s", "v.xml", "late"}, "late/capture.json: \"since\" is no time"},
        BadInput{"ControlCharacters", {"-s", "v.xml", "escape"}, "escape/capture.json: \\x1b[2Jm: no process id"},
        BadInput{"DirectoryAsDump", {"-s", "v.xml", "dir"}, "dir/000001/m.qxdump: Is a directory"},
        BadInput{"UnknownEvent",
                 {"-s", "v.xml", "--explain=VOLUM", "good"},
                 "--explain=VOLUM: the scripts have no event of that name; did you mean VOLUME"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
