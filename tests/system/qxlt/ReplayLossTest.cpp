// What `qxlt replay` shows again of what was lost, and of what became of the processes.
#include <gmock/gmock.h>

#include <filesystem>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

TEST(Replay, ShowsAgainWhatWasLost) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const ToolResult result = RunTool({"replay", "-s", script, LossyCapture(place)});
    EXPECT_EQ(result.status, 1);  // damage
    EXPECT_THAT(result.error,
                HasSubstr("warning: cycle 2, m, lost: overwritten 3, refused 2, dropped 1, exits dropped 6, "
                          "bytes not decoded 3; recorded 9, delivered 4\n"));
    EXPECT_THAT(result.error, HasSubstr("warning: cycle 2, n, lost: refused 5; recorded 5, delivered 0\n"));
    EXPECT_THAT(result.error, Not(HasSubstr("cycle 1, m, lost")));
    const std::size_t table = result.error.find("process  recorded");
    ASSERT_NE(table, std::string::npos) << result.error;
    std::vector<std::string> lines = Lines(result.error.substr(table));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0],
              "process  recorded  delivered  open  overwritten  refused  dropped  exits dropped  bytes not decoded  "
              "events in error  longest callback");
    EXPECT_THAT(lines[1], MatchesRegex("m +12 +5 +1 +3 +2 +1 +6 +3 +0 +[0-9]+\\.[0-9] ms"));
    EXPECT_THAT(lines[2], MatchesRegex("n +5 +0 +0 +0 +5 +0 +0 +0 +0 +0\\.0 ms"));
}

TEST(Replay, ShowsAgainWhatWasLostAsJson) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const ToolResult result = RunTool({"replay", "-s", script, "--format", "json", LossyCapture(place)});
    const std::vector<std::string> lines = Lines(result.output);
    ASSERT_EQ(lines.size(), 6u) << result.output;
    EXPECT_EQ(
        lines[0],
        R"({"cycle":2,"loss":{"process":"m","recorded":9,"delivered":4,"open":1,"overwritten":3,"refused":2,"dropped":1,"exitsDropped":6,"bytesNotDecoded":3}})");
    EXPECT_THAT(lines[1], StartsWith(R"({"cycle":2,"loss":{"process":"n",)"));
    EXPECT_THAT(lines[2], StartsWith(R"({"cycle":2,"event":"VOLUME","value":"1",)"));
    EXPECT_THAT(lines[3], StartsWith(R"({"cycle":2,"event":"VOLUME","value":"2",)"));
    EXPECT_THAT(
        lines[4],
        StartsWith(
            R"({"total":{"process":"m","recorded":12,"delivered":5,"open":1,"overwritten":3,"refused":2,"dropped":1,"exitsDropped":6,"bytesNotDecoded":3,"eventsInError":0,"longestCallbackUs":)"));
    EXPECT_THAT(lines[5], StartsWith(R"({"total":{"process":"n",)"));
}

TEST(Replay, FailsForLossesWhenAsked) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string capture = LossyCapture(place);
    place.Write("capture/000002/m.qxdump", VolumeDump({2}));
    EXPECT_EQ(RunTool({"replay", "-s", script, capture}).status, 0);
    EXPECT_EQ(RunTool({"replay", "-s", script, "--on-loss", "tell", capture}).status, 0);
    EXPECT_EQ(RunTool({"replay", "-s", script, "--on-loss", "fail", capture}).status, 1);
    std::filesystem::remove_all(place.At("capture/000002"));
    EXPECT_EQ(RunTool({"replay", "-s", script, "--on-loss", "fail", capture}).status, 0);
}

TEST(Replay, FailsWhenLossesAreNotKnown) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile("\"m\":7"));
    place.Write("capture/000001/m.qxdump", VolumeDump({1}));
    EXPECT_EQ(RunTool({"replay", "-s", script, place.At("capture")}).error, "");
    const ToolResult result = RunTool({"replay", "-s", script, "--on-loss", "fail", place.At("capture")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "warning: --on-loss fail: no counts of recorded calls were kept; replay a capture that run --keep "
              "wrote\n");
}

// A stream that is merely cut is no fault of the input, but something was lost.
TEST(Replay, FailsForWhatWasCutWhenAsked) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string dump = place.Write("a", VolumeDump({1}) + dump::Thread(4, "\x02"));
    EXPECT_EQ(RunTool({"replay", "-s", script, "-p", "m=1", dump}).status, 0);
    EXPECT_EQ(RunTool({"replay", "-s", script, "-p", "m=1", "--on-loss", "fail", dump}).status, 1);
}

TEST(Replay, LeavesOutCountsThatCannotBeRead) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string capture = LossyCapture(place);
    const std::string texts[] = {"",
                                 "{",
                                 "[]",
                                 "7",
                                 R"({"recorded":3})",
                                 std::string(200000, '[') + std::string(200000, ']'),
                                 R"({"recorded":-1,"delivered":1,"open":2,"overwritten":0,"refused":0,"dropped":0,)"
                                 R"("exitsDropped":0})"};
    for (const std::string& text : texts) {
        const std::string path = place.Write("capture/000001/m.qxloss", text);
        const ToolResult result = RunTool({"replay", "-s", script, capture});
        EXPECT_EQ(result.status, 1) << text.substr(0, 80);
        EXPECT_THAT(result.error, HasSubstr("error: " + path + ": no counts of recorded calls; they are left out\n"))
            << text.substr(0, 80);
    }
}

TEST(Replay, ShowsAgainWhatBecameOfTheProcesses) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile("\"m\":1"));
    place.Write("capture/000002/m.qxdump", VolumeDump({5}));
    place.Write("capture/000002/m.qxlife",
                R"([{"process_id":70001,"state":"ended"},{"process_id":70002,"state":"restarted"},)"
                R"({"process_id":3,"state":"unreadable","reason":"runs as user \u001bx"}])");
    const ToolResult json = RunTool({"replay", "-s", script, "--format", "json", place.At("capture")});
    EXPECT_EQ(json.status, 0) << json.error;
    EXPECT_EQ(json.error, "");
    EXPECT_THAT(
        Lines(json.output),
        ElementsAre(
            R"({"cycle":2,"lifecycle":{"process":"m","process_id":70001,"state":"ended"}})",
            R"({"cycle":2,"lifecycle":{"process":"m","process_id":70002,"state":"restarted"}})",
            R"({"cycle":2,"lifecycle":{"process":"m","process_id":3,"state":"unreadable","reason":"runs as user \u001bx"}})",
            HasSubstr(R"("event":"VOLUME")")));
    EXPECT_EQ(RunTool({"replay", "-s", script, place.At("capture")}).error,
              "cycle 2, m[70001] has ended\ncycle 2, m[70002] has started anew\n"
              "warning: cycle 2, m[3] runs, and nothing of it can be read: runs as user \\x1bx\n");
}

TEST(Replay, LeavesOutWhatBecameOfProcessesWhenItCannotBeRead) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile("\"m\":1"));
    place.Write("capture/000002/m.qxdump", VolumeDump({5}));
    const std::string texts[] = {"",
                                 "{",
                                 "{}",
                                 "[7]",
                                 "[{}]",
                                 R"([{"process_id":1}])",
                                 R"([{"process_id":1,"state":7}])",
                                 R"([{"process_id":1,"state":"born"}])",
                                 R"([{"process_id":-1,"state":"ended"}])",
                                 R"([{"process_id":4294967296,"state":"ended"}])"};
    for (const std::string& text : texts) {
        const std::string path = place.Write("capture/000002/m.qxlife", text);
        const ToolResult result = RunTool({"replay", "-s", script, place.At("capture")});
        EXPECT_EQ(result.status, 1) << text;
        EXPECT_EQ(result.error, "error: " + path + ": not what became of the process; it is left out\n") << text;
        EXPECT_THAT(result.output, HasSubstr("VOLUME")) << text;
    }
}

}  // namespace
