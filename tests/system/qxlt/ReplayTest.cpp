// `qxlt replay`, run as its user runs it.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "Child.h"
#include "DumpWriter.h"
#include "Workplace.h"

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

const char* const kInputScript =
    "<Scenario>\n<action name=\"input\">\n<method name=\"SetVolume\"/>\n"
    "<event name=\"AGAIN\" tag=\"IN\" value=\"0\" type=\"INT\"/>\n</action>\n</Scenario>\n";

std::string CaptureFile(const std::string& processes) {
    return "{\"version\":1,\"processes\":{" + processes + "}}\n";
}

// Of a run that began at that time.
std::string CaptureFile(const std::string& processes, const std::string& since) {
    return "{\"version\":1,\"processes\":{" + processes + "},\"since\":" + since + "}\n";
}

// A call of location 3, which was described in an earlier dump.
std::string LaterCall(int volume) {
    return dump::Thread(3, dump::StreamItem(dump::kBefore, dump::Before(105, 3, dump::Int(volume, 4))) +
                               dump::StreamItem(dump::kAfter, dump::After(2)));
}

std::vector<std::string> Values(const std::string& jsonLines) {
    std::vector<std::string> values;
    for (const std::string& line : Lines(jsonLines)) {
        const std::size_t at = line.find("\"value\":\"") + 9;
        values.push_back(line.substr(at, line.find('"', at) - at));
    }
    return values;
}

TEST(Replay, PrintsAnEventAsJson) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string dump = place.Write("a.qxdump", VolumeDump({85}));
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "media-server=412", "--format", "json", dump});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(
        result.output,
        R"({"cycle":1,"event":"VOLUME","value":"85","call":{"key":105000,"process":"media-server","pid":412,"tid":3,"locId":3,"callerName":"SetVolume","packageName":"audio","srcCodeFileRaw":"volume.cpp","time":105,"exitTime":2105,"in":[[{"name":"","hex":"55000000"}]],"out":[],"ret":[]}})"
        "\n");
}

TEST(Replay, PrintsEventsAsAlignedText) {
    const Workplace place;
    const std::string events =
        std::string(kEveryVolume) +
        R"(<event name="VOLUME_HIGH" tag="IN" value="0" type="INT" watch="CONDITIONAL" condition="&gt;" conditionValue="80"/>)";
    const std::string script = place.Write("v.xml", VolumeScript(events));
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", place.Write("a", VolumeDump({85}))});
    EXPECT_THAT(Lines(result.output), ElementsAre("1      VOLUME       85            m[1] audio.SetVolume(85) at 105",
                                                  "1      VOLUME_HIGH  85            m[1] audio.SetVolume(85) at 105"));
}

TEST(Replay, TakesEachLooseDumpForACycle) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string first = place.Write("1", VolumeDump({1}));
    const std::string second = place.Write("2", LaterCall(2));
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", first, second, "--format", "json"});
    EXPECT_THAT(Lines(result.output), ElementsAre(StartsWith(R"({"cycle":1,"event":"VOLUME","value":"1")"),
                                                  StartsWith(R"({"cycle":2,"event":"VOLUME","value":"2")")));
}

TEST(Replay, PrimesWithTheFirstCycleWhenAsked) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string first = place.Write("1", VolumeDump({1}));
    const std::string second = place.Write("2", LaterCall(2));
    const std::vector<std::string> arguments = {"replay", "-s", script, "-p", "m=1", "--format", "json", first, second};
    std::vector<std::string> priming = arguments;
    priming.push_back("--prime");
    std::vector<std::string> notPriming = arguments;
    notPriming.push_back("--no-prime");
    EXPECT_THAT(Lines(RunTool(priming).output), ElementsAre(StartsWith(R"({"cycle":2,"event":"VOLUME","value":"1")"),
                                                            StartsWith(R"({"cycle":2,"event":"VOLUME","value":"2")")));
    EXPECT_EQ(RunTool(notPriming).output, RunTool(arguments).output);
}

TEST(Replay, RunsACaptureAsItWasLive) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile("\"tuner\":70,\"media-server\":412"));
    place.Write("capture/000001/media-server.qxdump", VolumeDump({1}));
    place.Write("capture/000002/tuner.qxdump", VolumeDump({2}));
    place.Write("capture/000002/media-server.qxdump", LaterCall(3));
    place.Write("capture/000010/tuner.qxdump", LaterCall(4));
    const std::vector<std::string> arguments = {"replay", "-s", script, "--format", "json", place.At("capture")};
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(Values(result.output), ElementsAre("1", "3", "2", "4"));
    EXPECT_THAT(Lines(result.output),
                ElementsAre(HasSubstr(R"("cycle":2,)"), HasSubstr(R"("process":"media-server","pid":412,)"),
                            HasSubstr(R"("process":"tuner","pid":70,)"), HasSubstr(R"("cycle":10,)")));
    std::vector<std::string> notPriming = arguments;
    notPriming.push_back("--no-prime");
    EXPECT_THAT(Lines(RunTool(notPriming).output).front(), HasSubstr(R"("cycle":1,)"));
}

TEST(Replay, FindsTheDumpsOfProcessesWithOddNames) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile(R"("../a b":7,".x":8)"));
    place.Write("capture/000002/%2E.%2Fa%20b.qxdump", VolumeDump({1}));
    place.Write("capture/000002/%2Ex.qxdump", VolumeDump({2}));
    const ToolResult result = RunTool({"replay", "-s", script, "--format", "json", place.At("capture")});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr(R"("process":"../a b","pid":7,)"));
    EXPECT_THAT(result.output, HasSubstr(R"("process":".x","pid":8,)"));
}

TEST(Replay, JoinsSeveralScriptsInOrder) {
    const Workplace place;
    const std::string first = place.Write("1.xml", VolumeScript(kEveryVolume));
    const std::string second = place.Write("2.xml", kInputScript);
    const std::string dump = place.Write("a.qxdump", VolumeDump({5}));
    const ToolResult together = RunTool({"replay", "-s", first, second, "-p", "m=1", "--explain", dump});
    const ToolResult apart = RunTool({"replay", "-s", first, "-p", "m=1", "-s", second, "--explain", dump});
    EXPECT_EQ(together.status, 0) << together.error;
    EXPECT_THAT(together.output, HasSubstr("AGAIN"));
    EXPECT_THAT(together.output, HasSubstr(first + ":4\n"));
    EXPECT_THAT(together.output, HasSubstr(second + ":4\n"));
    EXPECT_EQ(together.output, apart.output);
}

TEST(Replay, ReadsScriptsOfOtherEncodingsAndWithEntities) {
    const Workplace place;
    const std::string script = place.Write(
        "v.xml", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><!DOCTYPE Scenario [<!ENTITY n \"LAUT\xE4R\">]>\n" +
                     VolumeScript("<event name=\"&n;&#10;&lt;&quot;&amp;\" tag=\"IN\" value=\"0\" type=\"INT\"/>"));
    const ToolResult result =
        RunTool({"replay", "-s", script, "-p", "m=1", "--format", "json", place.Write("a", VolumeDump({5}))});
    EXPECT_THAT(result.output, HasSubstr("\"event\":\"LAUT\xC3\xA4R\\n<\\\"&\""));
}

TEST(Replay, GivesEachOfTwoEqualCallsItsOwnKey) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume + std::string(kEveryVolume)));
    const std::string call = dump::StreamItem(dump::kBefore, dump::Before(0, 3, dump::Int(5, 4)));
    const std::string exit = dump::StreamItem(dump::kAfter, dump::After(0));
    const std::string bytes = VolumeDump({}) + dump::Thread(3, call + exit + call + exit);
    const ToolResult result =
        RunTool({"replay", "-s", script, "-p", "m=1", "--format", "json", place.Write("a", bytes)});
    EXPECT_THAT(Lines(result.output), ElementsAre(HasSubstr("\"key\":0,"), HasSubstr("\"key\":0,"),
                                                  HasSubstr("\"key\":1,"), HasSubstr("\"key\":1,")));
}

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

// A capture whose second cycle lost something.
std::string LossyCapture(const Workplace& place) {
    place.Write("capture/capture.json", CaptureFile("\"m\":7,\"n\":8"));
    place.Write("capture/000001/m.qxdump", VolumeDump({1}));
    place.Write("capture/000001/m.qxloss",
                R"({"recorded":3,"delivered":1,"open":2,"overwritten":0,"refused":0,"dropped":0,"exitsDropped":0})");
    place.Write("capture/000002/m.qxdump", VolumeDump({2}) + dump::Packet(9, "x"));
    place.Write("capture/000002/m.qxloss",
                R"({"recorded":9,"delivered":4,"open":1,"overwritten":3,"refused":2,"dropped":1,"exitsDropped":6})");
    place.Write("capture/000002/n.qxloss",
                R"({"recorded":5,"delivered":0,"open":0,"overwritten":0,"refused":5,"dropped":0,"exitsDropped":0})");
    return place.At("capture");
}

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

TEST(Replay, CountsTheEventsInError) {
    const Workplace place;
    const std::string script =
        place.Write("v.xml", VolumeScript(R"(<event name="E" tag="IN" value="x" type="INT" watch="ALWAYS"/>)"));
    const ToolResult result = RunTool({"replay", "-s", script, "--format", "json", LossyCapture(place)});
    EXPECT_THAT(result.output, HasSubstr(R"("eventsInError":2,)"));
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

TEST(Replay, TracesALaterCycleOfACaptureThatPrimes) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile("\"m\":1"));
    place.Write("capture/000001/m.qxdump", VolumeDump({1}));
    place.Write("capture/000002/m.qxdump", LaterCall(2));
    place.Write("capture/000003/m.qxdump", LaterCall(3));
    const std::vector<std::string> arguments = {"replay", "-s", script, "--format", "json", place.At("capture")};
    std::vector<std::string> priming = arguments;
    priming.push_back("--prime");
    EXPECT_EQ(RunTool(priming).output, RunTool(arguments).output);
    EXPECT_THAT(Values(RunTool(priming).output), ElementsAre("1", "2", "3"));
    std::filesystem::remove_all(place.At("capture/000001"));
    place.Write("capture/000002/m.qxdump", VolumeDump({2}));
    EXPECT_THAT(Lines(RunTool(priming).output), ElementsAre(StartsWith(R"({"cycle":3,"event":"VOLUME","value":"2")"),
                                                            StartsWith(R"({"cycle":3,"event":"VOLUME","value":"3")")));
    EXPECT_THAT(Lines(RunTool(arguments).output).front(), StartsWith(R"({"cycle":2,"event":"VOLUME","value":"2")"));
}

// What the library's own cycle does not look at: it traces nothing when no dump came.
TEST(Replay, EvaluatesWhatPrimedThoughNoDumpFollows) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    place.Write("capture/capture.json", CaptureFile("\"m\":1"));
    place.Write("capture/000001/m.qxdump", VolumeDump({1, 2}));
    const std::vector<std::string> arguments = {"replay",           "-s", script, "--format", "json", "--explain",
                                                place.At("capture")};
    const ToolResult ended = RunTool(arguments);
    EXPECT_THAT(Lines(ended.output), ElementsAre(StartsWith(R"({"cycle":2,"event":"VOLUME","value":"1")"),
                                                 StartsWith(R"({"cycle":2,"event":"VOLUME","value":"2")"),
                                                 HasSubstr(R"("calls":2,"method":2,)")));
    std::filesystem::create_directory(place.At("capture/000002"));
    std::filesystem::create_directory(place.At("capture/000003"));
    EXPECT_EQ(RunTool(arguments).output, ended.output);
}

TEST(Replay, EvaluatesNoCallFromBeforeTheRun) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    // At times 105, 2210 and 4315; then, held back until it returned, again at 105.
    place.Write("capture/capture.json", CaptureFile("\"m\":1", "2210"));
    place.Write("capture/000001/m.qxdump", VolumeDump({1, 2, 3}));
    place.Write("capture/000001/m.qxloss",
                R"({"recorded":4,"delivered":3,"open":1,"overwritten":0,"refused":0,"dropped":0,"exitsDropped":0})");
    place.Write("capture/000002/m.qxdump",
                dump::Thread(4, dump::StreamItem(dump::kBefore, dump::Before(105, 3, dump::Int(4, 4))) +
                                    dump::StreamItem(dump::kAfter, dump::After(9))));
    place.Write("capture/000002/m.qxloss",
                R"({"recorded":0,"delivered":1,"open":0,"overwritten":2,"refused":0,"dropped":0,"exitsDropped":0})");
    const std::vector<std::string> arguments = {"replay", "-s", script, "--format", "json", place.At("capture")};
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(
        Lines(result.output),
        ElementsAre(
            StartsWith(R"({"cycle":2,"loss":{"process":"m","recorded":0,"delivered":0,"open":0,"overwritten":2,)"),
            StartsWith(R"({"cycle":2,"event":"VOLUME","value":"2")"),
            StartsWith(R"({"cycle":2,"event":"VOLUME","value":"3")"),
            AllOf(StartsWith(R"({"total":{"process":"m","recorded":2,"delivered":2,"open":0,"overwritten":2,)"),
                  EndsWith(R"("history":2}})"))));
    EXPECT_THAT(RunTool({"replay", "-s", script, place.At("capture")}).error,
                HasSubstr("\n2 calls from before the start raised no events; --history evaluates them\n"));
    std::vector<std::string> all = arguments;
    all.push_back("--history");
    const std::string output = RunTool(all).output;
    EXPECT_THAT(output, HasSubstr(R"("event":"VOLUME","value":"1")"));
    EXPECT_THAT(output, HasSubstr(R"("event":"VOLUME","value":"4")"));
    EXPECT_THAT(output, HasSubstr(R"("recorded":4,"delivered":4,)"));
    EXPECT_THAT(output, HasSubstr(R"("history":0}})"));
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

TEST(Replay, EndsWithTheEventThatIsToEndIt) {
    const Workplace place;
    const std::string events = std::string(kEveryVolume) +
                               R"(<event name="TWO" tag="IN" value="0" type="INT" keyword="2" watch="ALWAYS"/>)"
                               R"(<event name="BAD" tag="IN" value="x" type="INT" watch="ALWAYS"/>)";
    const std::string script = place.Write("v.xml", VolumeScript(events));
    const std::string first = place.Write("1", VolumeDump({1, 2, 3}));
    const std::string second = place.Write("2", LaterCall(4));
    const ToolResult result =
        RunTool({"replay", "-s", script, "-p", "m=1", "--until", "TWO", "--format", "json", first, second});
    EXPECT_THAT(Values(result.output), ElementsAre("1", "2", "2"));
    EXPECT_EQ(result.status, 1);  // the event in error came first
    const ToolResult explained =
        RunTool({"replay", "-s", script, "-p", "m=1", "--until", "TWO", "--explain=VOLUME", first, second});
    EXPECT_THAT(explained.output, Not(HasSubstr("\"3\": fires")));
    EXPECT_THAT(explained.output, ContainsRegex("VOLUME +3 +3 "));  // the calls of the pass
    const ToolResult unknown = RunTool({"replay", "-s", script, "-p", "m=1", "--until", "TW", first});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_THAT(unknown.error,
                StartsWith("error: --until TW: the scripts have no event of that name; did you mean TWO"));
}

// Two processes under one name, as the host's control tells of them.
TEST(Replay, ShowsTheProcessThatMadeACall) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const auto header = [](const std::string& version, const std::string& id) {
        return dump::Persistent({dump::Item(dump::kHeader, dump::Header(1, "m", version, "", "", id, "00000000"))});
    };
    const auto thread = [](unsigned tid) {
        return dump::Properties(tid, dump::Item(dump::kThreadName, dump::ThreadName("t")));
    };
    const auto call = [](unsigned tid, int volume) {
        return dump::Thread(tid, dump::StreamItem(dump::kBefore, dump::Before(105, 3, dump::Int(volume, 4))) +
                                     dump::StreamItem(dump::kAfter, dump::After(2)));
    };
    place.Write("capture/capture.json", CaptureFile("\"m\":1"));
    place.Write("capture/000001/m.qxdump", header("host 1", "00070001") + thread(4) + header("host 1", "00000009") +
                                               thread(5) + VolumeDump({}) + call(4, 1) + call(5, 2));
    // The number of the first one's thread is another's by now, before the calls of the cycle that primed are traced.
    place.Write("capture/000002/m.qxdump", header("host 1", "00000010") + thread(4) + call(4, 3));
    place.Write("capture/000003/m.qxdump", header("1", "00000011") + thread(6) + call(6, 4));
    place.Write("capture/000004/m.qxdump", header("host 1", "0000001x") + thread(7) + call(7, 5));
    const ToolResult result = RunTool({"replay", "-s", script, "--format", "json", place.At("capture")});
    EXPECT_THAT(Lines(result.output),
                ElementsAre(AllOf(HasSubstr(R"("value":"1",)"), EndsWith(R"("ret":[],"process_id":70001}})")),
                            AllOf(HasSubstr(R"("value":"2",)"), EndsWith(R"("ret":[],"process_id":9}})")),
                            AllOf(HasSubstr(R"("value":"3",)"), EndsWith(R"("ret":[],"process_id":10}})")),
                            AllOf(HasSubstr(R"("value":"4",)"), EndsWith(R"("ret":[]}})")),
                            AllOf(HasSubstr(R"("value":"5",)"), EndsWith(R"("ret":[]}})"))));
    const std::string text = RunTool({"replay", "-s", script, place.At("capture")}).output;
    EXPECT_THAT(text, HasSubstr("m[70001] audio.SetVolume(1)"));
    EXPECT_THAT(text, HasSubstr("m[1] audio.SetVolume(4)"));
    const ToolResult decoded =
        RunTool({"decode", "-p", "m=1", "--format", "json", place.At("capture/000001/m.qxdump")});
    EXPECT_THAT(decoded.output, HasSubstr(R"("ret":[],"process_id":70001})"));
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

TEST(Replay, ExplainsEveryEvent) {
    const Workplace place;
    const std::string events =
        R"(<event name="HIGH" tag="IN" value="0" type="INT" watch="D-CONDITIONAL" condition="&gt;" conditionValue="80"/>)"
        R"(<event name="WORD" tag="IN" value="0" type="INT" keyword="12" watch="ALWAYS"/>)"
        R"(<event name="NEW" tag="IN" value="0" type="INT" watch="CHANGED"/>)"
        R"(<event name="FOURTH" tag="IN" value="3" type="INT"/>)"
        R"(<event name="BAD" tag="IN" value="0" type="INT" watch="CONDITIONAL" condition="&lt;" conditionValue="x"/>)";
    const std::string script = place.Write("v.xml", VolumeScript(events));
    const std::string dump = place.Write("a", VolumeDump({10, 79, 81, 90, 90}));
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", "--explain", dump});
    const std::string place4 = "  " + script + ":4";
    std::vector<std::string> table = Lines(result.output);
    table.erase(table.begin(), table.end() - 11);
    EXPECT_THAT(
        table, ElementsAre(
                   "event     calls   method    value   filter  keyword  condition     edge    fired   errors  place",
                   "HIGH          5        5        5        5        5          3        1        1        0" + place4,
                   "    2 calls: condition > \"80\" does not hold; nearest \"79\", \"10\"",
                   "WORD          5        5        5        5        0          0        0        0        0" + place4,
                   "    5 calls: the value is not the keyword \"12\"; nearest \"10\", \"79\", \"81\"",
                   "NEW           5        5        5        5        5          4        4        4        0" + place4,
                   "    1 call: the value did not change; nearest \"90\"",
                   "FOURTH        5        5        0        0        0          0        0        0        0" + place4,
                   "    5 calls: no value at index \"3\" of IN",
                   "BAD           5        5        5        5        5          0        0        0        5" + place4,
                   "    5 calls: condition < \"x\": an operand is no number in range"));
}

TEST(Replay, ExplainsThatTheMethodWasNotCalled) {
    const Workplace place;
    const std::string script =
        place.Write("v.xml", R"(<Scenario><action><method name="SetVolum"/><event name="E"/></action></Scenario>)");
    const ToolResult result =
        RunTool({"replay", "-s", script, "-p", "m=1", "--explain", place.Write("a", VolumeDump({10}))});
    EXPECT_EQ(Lines(result.output).back(), "    1 call: no call of SetVolum; nearest \"SetVolume\"");
}

// Which values are near depends on how the operands are read and combined.
TEST(Replay, NamesTheValuesThatCameNearestToTheCondition) {
    const Workplace place;
    const std::string dump = place.Write("a", VolumeDump({10, 79, 81, 90}));
    struct Row {
        const char* condition;
        const char* value;
        const char* type;
        const char* reason;
    };
    const Row rows[] = {
        {"==", "80", "", R"(4 calls: condition == "80" does not hold; nearest "79", "81", "90")"},
        // Without conditionType all of it is one operand, 12.
        {"==", "12&amp;90", "", R"(4 calls: condition == "12&90" does not hold; nearest "10", "79", "81")"},
        {"==", "12&amp;80", "OR", R"(4 calls: condition == "12&80" (OR) does not hold; nearest "79", "81", "10")"},
        // Both at once: what is between them is nearest.
        {"==", "0&amp;95", "AND", R"(4 calls: condition == "0&95" (AND) does not hold; nearest "79", "81", "10")"},
        // The last one alone decides.
        {"==", "12&amp;92", "XOR", R"(4 calls: condition == "12&92" (XOR) does not hold; nearest "90", "81", "79")"},
        {"&gt;", "90&amp;95", "AND", R"(4 calls: condition > "90&95" (AND) does not hold; nearest "90", "81", "79")"},
        {"&lt;", "10", "", R"(4 calls: condition < "10" does not hold; nearest "10", "79", "81")"},
        {"range", "82,89", "OR", R"(4 calls: condition range "82,89" (OR) does not hold; nearest "81", "90", "79")"},
        // Nothing would have been near enough.
        {"range", "89,82", "", R"(4 calls: condition range "89,82" does not hold)"},
        {"==", "", "OR", R"(4 calls: condition == "" (OR) does not hold)"},
        {"=", "10", "", R"(4 calls: condition = "10" does not hold)"}};
    for (const Row& row : rows) {
        const std::string event = std::string(R"(<event name="E" tag="IN" value="0" type="INT" watch="CONDITIONAL")") +
                                  " condition=\"" + row.condition + "\" conditionValue=\"" + row.value +
                                  "\" conditionType=\"" + row.type + "\"/>";
        const std::string script = place.Write("v.xml", VolumeScript(event));
        const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", "--explain", dump});
        EXPECT_EQ(Lines(result.output).back(), std::string("    ") + row.reason);
    }
}

TEST(Replay, ExplainsWhereAMethodsCallsWent) {
    const Workplace place;
    const std::string script = place.Write("v.xml",
                                           "<Scenario><action name=\"a\"><method name=\"SetVolume\"/></action>\n"
                                           "<action name=\"a\"><method name=\"Idle\"/><method name=\"SetVolume\"/>"
                                           "<event name=\"E\"/></action></Scenario>");
    const ToolResult result =
        RunTool({"replay", "-s", script, "-p", "m=1", "--explain", place.Write("a", VolumeDump({10}))});
    EXPECT_EQ(Lines(result.output).back(), "    1 call: SetVolume goes to another action of that name");
}

// U+009B begins an escape sequence, as ESC [ does.
TEST(Replay, LetsNoControlCharacterReachTheTerminal) {
    const Workplace place;
    const std::string script =
        place.Write("v\x1b[2J.xml",
                    VolumeScript("<event name=\"E&#155;\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"CONDITIONAL\" "
                                 "condition=\"&#155;&#10;\" conditionValue=\"&#155;\" conditionType=\"&#155;\"/>"));
    const std::string dump = place.Write("a", VolumeDump({10}));
    for (const char* const option : {"--explain", "--explain=E\xC2\x9B"}) {
        const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", option, dump});
        EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
        EXPECT_THAT(result.output, Not(HasSubstr("\xC2\x9B")));
        EXPECT_THAT(result.output, HasSubstr(R"(v\x1b[2J.xml:4)"));
        EXPECT_THAT(result.output, HasSubstr(R"(condition \xc2\x9b\n "\xc2\x9b" (\xc2\x9b) does not hold)"));
    }
}

// The reader's right to go away takes nothing back that was said before.
TEST(Replay, KeepsItsStatusWhenTheReaderHasGone) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string pipe = place.At("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const bool damaged : {false, true}) {
        const std::string first = place.Write("a", VolumeDump({5}) + (damaged ? dump::Packet(9, "x") : ""));
        Child tool(ToolSetup({"replay", "-s", script, "-p", "m=1", first, pipe}));
        EXPECT_TRUE(tool.WaitForOutput("VOLUME"));
        tool.CloseOutput();
        std::ofstream(pipe, std::ios::binary) << VolumeDump({6});
        EXPECT_EQ(tool.Finish(), damaged ? 1 : 0);
        EXPECT_EQ(Lines(tool.Error()).size(), damaged ? 1u : 0u) << tool.Error();
    }
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

TEST(Replay, WaitsForRoomInAnOutputThatDoesNotWait) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string dump = place.Write("a", VolumeDump(std::vector<int>(2000, 5)));
    Child::Setup setup;
    setup.impatient = true;
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", "--format", "json", dump}, setup);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(Lines(result.output).size(), 2000u);
}

TEST(Replay, ExplainsAnEventCallByCall) {
    const Workplace place;
    const std::string events =
        std::string(kEveryVolume) +
        R"(<event name="HIGH" tag="IN" value="0" type="INT" watch="D-CONDITIONAL" condition="&gt;" conditionValue="80"/>)";
    const std::string script = place.Write("v.xml", VolumeScript(events));
    const std::string dump = place.Write("a", VolumeDump({79, 81, 90}));
    const ToolResult text = RunTool({"replay", "-s", script, "-p", "m=1", "--explain=HIGH", dump});
    EXPECT_THAT(text.output, HasSubstr("cycle 1, time 105, HIGH \"79\": condition > \"80\" does not hold\n"));
    EXPECT_THAT(text.output, HasSubstr("cycle 1, time 2210, HIGH \"81\": fires\n"));
    EXPECT_THAT(text.output, HasSubstr("cycle 1, time 4315, HIGH \"90\": condition > \"80\" held before\n"));
    EXPECT_THAT(text.output, Not(HasSubstr("VOLUME \"79\"")));
    const ToolResult json = RunTool({"replay", "-s", script, "-p", "m=1", "--format", "json", "--explain=HIGH", dump});
    EXPECT_THAT(json.output, HasSubstr(R"({"decided":"HIGH","cycle":1,"time":2210,"value":"81","decision":"fires"})"));
    EXPECT_THAT(
        Lines(json.output).back(),
        HasSubstr(
            R"("calls":3,"method":3,"value":3,"filter":3,"keyword":3,"condition":2,"edge":1,"fired":1,"errors":0)"));
}

TEST(Replay, ColoursOnlyATerminal) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::vector<std::string> arguments = {"replay", "-s", script, "-p", "m=1", place.Write("a", VolumeDump({5}))};
    Child::Setup terminal;
    terminal.terminal = true;
    terminal.environment = {{"TERM", "xterm"}, {"NO_COLOR", ""}};
    EXPECT_THAT(RunTool(arguments, terminal).output, HasSubstr("\033[1mVOLUME\033[0m"));
    terminal.environment = {{"TERM", "xterm"}, {"NO_COLOR", "1"}};
    EXPECT_THAT(RunTool(arguments, terminal).output, Not(HasSubstr("\033[")));
    EXPECT_THAT(RunTool(arguments).output, Not(HasSubstr("\033[")));
}

TEST(Replay, ShowsProgressOnATerminal) {
    const Workplace place;
    const std::string script = place.Write("v.xml", "<session/>");
    const std::string dump = place.Write("a", VolumeDump(std::vector<int>(20000, 5)));
    std::vector<std::string> arguments = {"replay", "-s", script, "-p", "m=1"};
    arguments.insert(arguments.end(), 2000, dump);
    Child::Setup terminal;
    terminal.terminal = true;
    Child tool(ToolSetup(arguments, terminal));
    EXPECT_TRUE(tool.WaitForOutput("\r\033[Kdump "));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 128 + SIGINT);
}

TEST(Replay, NeedsNoMoreMemoryForManyCycles) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string dump = place.Write("a", VolumeDump(std::vector<int>(20000, 5)));
    Child::Setup setup;
    setup.output = "/dev/null";
    setup.environment = {{"ASAN_OPTIONS", "quarantine_size_mb=1"}};  // a sanitizer keeps what was freed
    std::vector<std::string> arguments = {"replay", "-s", script, "-p", "m=1", dump, dump};
    const ToolResult two = RunTool(arguments, setup);
    arguments.insert(arguments.end(), 20, dump);
    const ToolResult many = RunTool(arguments, setup);
    EXPECT_EQ(many.status, 0);
    EXPECT_LT(many.largestSize, two.largestSize * 5 / 4);
}

}  // namespace
