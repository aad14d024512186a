// `qxlt replay`, run as its user runs it: scripts, dumps and cycles, and the events that come of them.
#include <gmock/gmock.h>

#include <filesystem>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "Workplace.h"

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const char* const kInputScript =
    "<Scenario>\n<action name=\"input\">\n<method name=\"SetVolume\"/>\n"
    "<event name=\"AGAIN\" tag=\"IN\" value=\"0\" type=\"INT\"/>\n</action>\n</Scenario>\n";

TEST(Replay, PrintsAnEventAsJson) {
    const Workplace place;
    const std::string script = place.Write("v.xml", VolumeScript(kEveryVolume));
    const std::string dump = place.Write("a.qxdump", VolumeDump({85}));
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "media-server=412", "--format", "json", dump});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(
        result.output,
        R"({"cycle":1,"event":"VOLUME","value":"85","call":{"key":105000,"process":"media-server","pid":412,"tid":3,"locId":3,"callerName":"SetVolume","packageName":"audio","srcCodeFileRaw":"volume.cpp","time":105,"exitTime":2105,"in":[[{"name":"","hex":"55000000","int":85}]],"out":[],"ret":[],"duration":2000}})"
        "\n");
}

TEST(Replay, PrintsEventsAsAlignedText) {
    const Workplace place;
    const std::string events =
        std::string(kEveryVolume) +
        R"(<event name="VOLUME_HIGH" tag="IN" value="0" type="INT" watch="CONDITIONAL" condition="&gt;" conditionValue="80"/>)";
    const std::string script = place.Write("v.xml", VolumeScript(events));
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", place.Write("a", VolumeDump({85}))});
    EXPECT_THAT(Lines(result.output),
                ElementsAre(" 105  VOLUME       85        2.0 us  m[1]             audio.SetVolume(85)",
                            " 105  VOLUME_HIGH  85        2.0 us  m[1]             audio.SetVolume(85)"));
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
    EXPECT_THAT(
        Lines(result.output),
        ElementsAre(
            AllOf(HasSubstr(R"("value":"1",)"),
                  EndsWith(R"("ret":[],"process_id":70001,"thread":"t","duration":2000}})")),
            AllOf(HasSubstr(R"("value":"2",)"), EndsWith(R"("ret":[],"process_id":9,"thread":"t","duration":2000}})")),
            AllOf(HasSubstr(R"("value":"3",)"), EndsWith(R"("ret":[],"process_id":10,"thread":"t","duration":2000}})")),
            AllOf(HasSubstr(R"("value":"4",)"), EndsWith(R"("ret":[],"thread":"t","duration":2000}})")),
            AllOf(HasSubstr(R"("value":"5",)"), EndsWith(R"("ret":[],"thread":"t","duration":2000}})"))));
    const std::string text = RunTool({"replay", "-s", script, place.At("capture")}).output;
    EXPECT_THAT(text, HasSubstr("m[70001]  t       audio.SetVolume(1)"));
    EXPECT_THAT(text, HasSubstr("m[1]      t       audio.SetVolume(4)"));
    const ToolResult decoded =
        RunTool({"decode", "-p", "m=1", "--format", "json", place.At("capture/000001/m.qxdump")});
    EXPECT_THAT(decoded.output, HasSubstr(R"("ret":[],"process_id":70001,"thread":"t","duration":2000})"));
}

}  // namespace
