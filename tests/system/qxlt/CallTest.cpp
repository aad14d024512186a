// Events for calls that are named on the command line, without a scenario.
#include <gmock/gmock.h>
#include <signal.h>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "RecordedSample.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A dump with calls of several methods.
class Call : public testing::Test {
protected:
    Call() { m_dump = m_place.Write("first.qxdump", RecordedDump()); }

    ToolResult Replay(std::vector<std::string> options) const {
        options.insert(options.begin(), {"replay", "-p", "media-server=412", m_dump});
        return RunTool(options);
    }

    // The events and calls that were printed.
    std::vector<std::string> Events(std::vector<std::string> options) const {
        options.insert(options.end(), {"--columns", "event,call"});
        const ToolResult result = Replay(options);
        EXPECT_EQ(result.status, 0) << result.error;
        EXPECT_EQ(result.error, "");
        return Lines(result.output);
    }

    const Workplace m_place;
    std::string m_dump;
};

TEST_F(Call, IsAnEventEach) {
    EXPECT_THAT(Events({"--call", "SetVolume"}),
                ElementsAre("SetVolume  audio.SetVolume(85)", "SetVolume  audio.SetVolume(20)"));
    EXPECT_THAT(Events({"--call", "input.*"}), ElementsAre("input.*  input.SetSource(\"hdmi\")"));
    EXPECT_THAT(Events({"--call", "SetV*", "--where", "in.0 > 80 and in.0 < 90"}).size(), 1U);
    EXPECT_THAT(Events({"--call", "Idle"}), IsEmpty());
}

TEST_F(Call, FiresForEachConditionThatHolds) {
    EXPECT_THAT(Events({"--call", "GetLevel", "--where", "in.0 == 7", "--where", "out.0 >= 9", "--where", "ret == 0"}),
                ElementsAre("GetLevel: in.0 == 7   audio.GetLevel(7) out (9) = true",
                            "GetLevel: out.0 >= 9  audio.GetLevel(7) out (9) = true"));
    EXPECT_THAT(Events({"--call", "SetSource", "--where", "in.0 contains 'dm'"}).size(), 1U);
}

TEST_F(Call, CountsAsOneMoreScenario) {
    m_place.Write("v.xml", VolumeScript(kEveryVolume));
    EXPECT_EQ(Events({"-s", m_place.At("v.xml"), "--call", "GetLevel"}).size(), 3U);
}

TEST_F(Call, IsExplainedLikeAScenario) {
    const ToolResult result = Replay({"--call", "Get*", "--where", "in.0 > 7", "--explain"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("--call:4"));
    EXPECT_THAT(result.output, HasSubstr("condition > \"7\" does not hold; nearest \"7\""));
    EXPECT_THAT(Replay({"--call", "Nothing*", "--explain"}).output, HasSubstr("its action names no method"));
}

TEST_F(Call, TellsOfMethodsThatAreNotRecorded) {
    EXPECT_EQ(
        Replay({"--call", "SetVolum"}).error,
        "warning: --call SetVolum: no such method is recorded so far; did you mean SetVolume; qxlt list shows what "
        "is\n");
    EXPECT_THAT(Replay({"--call", "tuner.*"}).error, HasSubstr("--call tuner.*: no such method"));
}

TEST_F(Call, TellsOfConditionsThatDoNotFitItsValues) {
    const auto told = [this](const std::string& call, const std::string& where) {
        const ToolResult result = Replay({"--call", call, "--where", where});
        EXPECT_EQ(Lines(result.error).size(), 1U) << result.error;
        EXPECT_EQ(result.output, "");
        return result.error;
    };
    EXPECT_EQ(told("SetSource", "in.0 > 80"),
              "warning: --where \"in.0 > 80\": in.0 of input.SetSource is a text; write what it is compared with in "
              "quotes; its calls are left out\n");
    EXPECT_THAT(told("SetVolume", "in.0 == '85'"), HasSubstr("is a number; leave out the quotes"));
    EXPECT_THAT(told("SetVolume", "in.1 == 85"), HasSubstr("audio.SetVolume has no in.1; it has in.0"));
    EXPECT_THAT(told("SetVolume", "ret == 85"), HasSubstr("has no ret"));
}

TEST_F(Call, OfAMethodThatIsRecordedLaterIsFound) {
    const std::string later = m_place.Write(
        "second.qxdump",
        dump::Persistent({dump::Item(dump::kLocation, dump::Location(9).Name("SetLate").Arg("int", dump::kIn, 4))}) +
            dump::Thread(3, dump::StreamItem(dump::kBefore, dump::Before(900, 9, dump::Int(1, 4))) +
                                dump::StreamItem(dump::kAfter, dump::After(2))));
    const ToolResult result =
        RunTool({"replay", "-p", "media-server=412", m_dump, later, "--call", "Set*", "--columns", "call"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(Lines(result.output), ElementsAre("audio.SetVolume(85)", "audio.SetVolume(20)",
                                                  "input.SetSource(\"hdmi\")", HasSubstr("SetLate(1)")));
}

TEST_F(Call, ShowsAScenarioThatDoesTheSame) {
    const ToolResult shown = Replay({"--call", "Set*", "--where", "in.0 < 80", "--show-script"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.output, HasSubstr("<method name=\"SetVolume\"/>\n    <event"));
    const std::string script = m_place.Write("shown.xml", shown.output);
    const ToolResult checked = RunTool({"check", script});
    EXPECT_EQ(checked.status, 0) << checked.output;
    EXPECT_EQ(Replay({"-s", script, "--format", "json"}).output,
              Replay({"--call", "Set*", "--where", "in.0 < 80", "--format", "json"}).output);
}

TEST_F(Call, IsAskedForClearly) {
    EXPECT_EQ(Replay({"--where", "ret < 0"}).error,
              "error: --where is about the calls that --call names; add --call METHOD, or --call '*'\n");
    EXPECT_EQ(Replay({"--call", "a", "--where", "ret < in.0"}).status, 2);
    EXPECT_THAT(Replay({"-s", "x.xml", "--show-script"}).error, HasSubstr("add --call METHOD"));
    EXPECT_THAT(Replay({"--call", "GetLevel", "--until", "GetLevl"}).error, HasSubstr("did you mean GetLevel"));
}

#ifdef QXLT_MEDIA_SERVER
TEST(LiveCall, IsAnEventEachWithoutAScenario) {
    const Workplace place;
    const std::string name = place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
    Child::Setup setup;
    setup.environment = {{"QX_RUNTIME_DIR", place.At("recordings")}};
    setup.command = {place.At(name), "--rate", "100"};
    const Child server(setup);
    setup.command.clear();
    const std::string event = "audio.Set*: in.0 >= 0";
    Child tool(ToolSetup({"run", "-p", name, "--call", "audio.Set*", "--where", "in.0 >= 0", "--pause", "fast",
                          "--until", event, "--for", "60s", "--columns", "event,call"},
                         setup));
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Output(), HasSubstr(event + "  audio.SetVolume("));
    EXPECT_THAT(tool.Error(), Not(HasSubstr("warning")));
    Child shown(ToolSetup({"run", "-p", name, "--call", "audio.Set*", "--show-script"}, setup));
    EXPECT_EQ(shown.Finish(), 0);
    EXPECT_THAT(shown.Output(), HasSubstr("process=\"" + name +
                                          "\">\n    <method name=\"SetMute\"/>\n    <method name=\"SetVolume\"/>\n"));
}
#endif

}  // namespace
