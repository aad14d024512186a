// What of events and calls the tool shows, and how: columns, times, filters.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "Text.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// A capture whose run began at 105, which was half past noon: its calls of SetVolume come every 2105 ns.
class ShownLines : public testing::Test {
protected:
    ShownLines() {
        m_place.Write(
            "capture/capture.json",
            R"({"version":1,"processes":{"media-server":412},"start":105,"clock_offset":1772368199999999895})");
        m_place.Write(
            "capture/000001/media-server.qxdump",
            VolumeDump({1, 2, 3}) + dump::Properties(3, dump::Item(dump::kThreadName, dump::ThreadName("mixer"))));
        m_place.Write("v.xml", VolumeScript(kEveryVolume));
    }

    std::vector<std::string> Replay(const std::vector<std::string>& options) const {
        std::vector<std::string> arguments = {"replay", "-s", m_place.At("v.xml"), m_place.At("capture")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.status, 0) << result.error;
        return Lines(result.output);
    }

    const Workplace m_place;
};

TEST_F(ShownLines, HaveTimesAsTheyAreAskedFor) {
    EXPECT_THAT(Replay({"--columns", "time,value"}),
                ElementsAre("2026-03-01T12:30:00.000000000Z  1", "2026-03-01T12:30:00.000002105Z  2",
                            "2026-03-01T12:30:00.000004210Z  3"));
    EXPECT_THAT(Replay({"--columns", "time,value", "--time", "relative"}),
                ElementsAre("0.000000  1", "0.000002  2", "0.000004  3"));
    EXPECT_THAT(Replay({"--columns", "time,value", "--time", "raw"}), ElementsAre(" 105  1", "2210  2", "4315  3"));
    EXPECT_THAT(Replay({"--format", "json"}).front(), HasSubstr(R"("wall":"2026-03-01T12:30:00.000000000Z")"));
}

TEST_F(ShownLines, AreThoseThatTheFiltersLetPass) {
    const std::vector<std::string> all = Replay({});
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(Replay({"--event", "VOL*", "--method", "audio.*", "--only-process", "media*", "--thread", "m*"}), all);
    EXPECT_THAT(Replay({"--event", "SOURCE"}), IsEmpty());
    EXPECT_THAT(Replay({"--method", "Get*"}), IsEmpty());
    EXPECT_THAT(Replay({"--only-process", "tuner"}), IsEmpty());
    EXPECT_THAT(Replay({"--thread", "main"}), IsEmpty());
    EXPECT_THAT(Replay({"--since", "0.000002", "--until-time", "0.000003"}), ElementsAre(all[1]));
    EXPECT_THAT(Replay({"--since", "2026-03-01T12:30:00.000002106Z"}), ElementsAre(all[2]));
    EXPECT_EQ(Replay({"--format", "json", "--thread", "main"}).size(), 0U);
}

TEST_F(ShownLines, OfLooseDumpsAreNotHeldBackByTimeAndThatIsToldOnce) {
    const auto replay = [this](const std::string& dump) {
        return RunTool({"replay", "-s", m_place.At("v.xml"), "-p", "media-server=412", dump, "--since", "10s"});
    };
    const std::string dump = m_place.At("capture/000001/media-server.qxdump");
    EXPECT_EQ(replay(dump).output, "") << "the capture that it lies in knows when its run began";
    EXPECT_EQ(replay(dump).error, "");
    std::filesystem::copy_file(dump, m_place.At("loose.qxdump"));
    const ToolResult result = replay(m_place.At("loose.qxdump"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(Lines(result.output).size(), 3U);
    EXPECT_EQ(
        result.error,
        "warning: --since and --until-time hold nothing back: these recordings do not tell their time, as captures "
        "do\n");
}

TEST_F(ShownLines, OfTracesAreThoseThatTheFiltersLetPass) {
    const auto calls = [this](const std::vector<std::string>& options) {
        std::vector<std::string> arguments = {"trace", m_place.At("capture"), "--format", "json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Lines(RunTool(arguments).output).size();
    };
    EXPECT_EQ(calls({}), 3U);
    EXPECT_EQ(calls({"--method", "Get*", "--method", "Set*", "--only-process", "media*", "--thread", "3"}), 3U);
    EXPECT_EQ(calls({"--method", "Get*"}), 0U);
    EXPECT_EQ(calls({"-p", "tuner"}), 0U);
    EXPECT_EQ(calls({"--only-process", "tuner"}), 0U);
    EXPECT_EQ(calls({"--thread", "4"}), 0U);
    EXPECT_EQ(calls({"--since", "0.000002", "--until-time", "0.000003"}), 1U);
}

TEST_F(ShownLines, OfDecodeAndListAreThoseThatTheFiltersLetPass) {
    const std::string dump = m_place.At("capture/000001/media-server.qxdump");
    const auto calls = [&dump](const std::string& option, const std::string& glob) {
        const std::string output = RunTool({"decode", "-p", "m=1", dump, option, glob}).output;
        const std::vector<std::string> lines = Lines(output);
        return std::count_if(lines.begin(), lines.end(),
                             [](const std::string& line) { return line.rfind("call ", 0) == 0; });
    };
    EXPECT_EQ(calls("--method", "SetV*"), 3);
    EXPECT_EQ(calls("--method", "Get*"), 0);
    EXPECT_EQ(calls("--thread", "mixer"), 3);
    EXPECT_EQ(calls("--only-process", "n"), 0);
    EXPECT_THAT(RunTool({"list", dump, "--method", "SetV*"}).output, HasSubstr("SetVolume"));
    EXPECT_THAT(RunTool({"list", dump, "--method", "Get*"}).output, testing::Not(HasSubstr("SetVolume")));
    EXPECT_THAT(RunTool({"list", dump, "--thread", "main"}).output, testing::Not(HasSubstr("mixer")));
}

TEST_F(ShownLines, OfDecodeAndListAreThoseOfATime) {
    const std::string dump = m_place.At("capture/000001/media-server.qxdump");
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
        {{"--since", "0.000002", "--until-time", "0.000003"}, "1 call "},
        {{"--since", "0.000002"}, "2 calls"},
        {{"--until-time", "2026-03-01T12:30:00.000002105Z"}, "1 call "},
        {{"--since", "2026-03-01T12:30:01Z"}, "0 calls"}};
    for (const auto& [bounds, count] : rows) {
        for (const std::string& input : {m_place.At("capture"), dump}) {
            std::vector<std::string> list = {"list", input};
            list.insert(list.end(), bounds.begin(), bounds.end());
            const ToolResult result = RunTool(list);
            EXPECT_THAT(result.output, HasSubstr(" " + count + "  audio.SetVolume")) << input;
            EXPECT_EQ(result.error, "");
        }
        std::vector<std::string> decode = {"decode", dump, dump};
        decode.insert(decode.end(), bounds.begin(), bounds.end());
        const std::vector<std::string> lines = Lines(RunTool(decode).output);
        const auto calls = std::count_if(lines.begin(), lines.end(),
                                         [](const std::string& line) { return line.rfind("call ", 0) == 0; });
        EXPECT_EQ(calls, 2 * std::stoi(count)) << bounds.front();
    }
}

TEST_F(ShownLines, OfDumpsThatTellNoTimeAreAllThereAndThatIsToldOnce) {
    const std::string dump = m_place.Write("loose/folder/m.qxdump", VolumeDump({1, 2, 3}));
    const std::string warning =
        "warning: --since and --until-time hold nothing back: these recordings do not tell their time, as captures "
        "do\n";
    const ToolResult list = RunTool({"list", dump, dump, "--since", "10s"});
    EXPECT_THAT(list.output, HasSubstr(" 6 calls  audio.SetVolume"));
    EXPECT_EQ(list.error, warning);
    const ToolResult decode = RunTool({"decode", "-p", "m=1", dump, dump, "--until-time", "2026-03-01T12:30:00Z"});
    EXPECT_THAT(Lines(decode.output), testing::Contains(StartsWith("call ")).Times(6));
    EXPECT_EQ(decode.error, warning);
    // What is no capture tells nothing either.
    m_place.Write("loose/capture.json", "no json");
    EXPECT_EQ(RunTool({"list", dump, "--since", "10s"}).error, warning);
}

// A file or a pipe gets all of them.
TEST_F(ShownLines, OfDiagnosticsAreOnATerminalNoMoreThanAPersonCanRead) {
    const std::string dump = m_place.Write("m.qxdump", VolumeDump(std::vector<int>(1000, 7)));
    const std::vector<std::string> arguments = {"replay",  "-s",   m_place.At("v.xml"), "-p",  "media-server=412", dump,
                                                "--event", "none", "--level",           "info"};
    const std::string all = RunTool(arguments).error;
    ASSERT_THAT(all, testing::Not(HasSubstr(" more")));
    ASSERT_GE(Lines(all).size(), 1000U);
    Child::Setup setup;
    setup.terminal = true;
    std::size_t shown = 0;
    std::size_t leftOut = 0;
    for (const std::string& line : Lines(RunTool(arguments, setup).output)) {
        const std::string mark = "I QXLT: ... and ";
        const std::size_t told = line.find(mark);
        if (told != std::string::npos) {
            leftOut += std::stoul(line.substr(told + mark.size()));
        } else if (line.find("I QXLT: ") != std::string::npos) {
            ++shown;
        }
    }
    EXPECT_LT(shown, leftOut);
    EXPECT_EQ(shown + leftOut, Lines(all).size());
}

TEST_F(ShownLines, FitATerminalAndAreHeaded) {
    Child::Setup setup;
    setup.terminal = true;
    setup.columns = 60;
    setup.environment = {{"NO_COLOR", "1"}};
    std::string output =
        RunTool({"replay", "-s", m_place.At("v.xml"), m_place.At("capture"), "--explain"}, setup).output;
    output.erase(std::remove(output.begin(), output.end(), '\r'), output.end());
    const std::vector<std::string> lines = Lines(output);
    ASSERT_GE(lines.size(), 5U) << output;
    EXPECT_EQ(lines[0], "times in seconds since 2026-03-01T12:30:00.000000000Z");
    EXPECT_THAT(lines[1], StartsWith("    time  event   value "));
    EXPECT_THAT(lines[2], StartsWith("0.000000  VOLUME  1 "));
    for (const std::string& line : lines) {
        const bool hasPath = line.find(".xml") != std::string::npos;
        EXPECT_TRUE(hasPath || qxlt::CharactersOf(line) <= 60) << line;
    }
    EXPECT_THAT(output, HasSubstr("event VOLUME\n  calls  "));
}

TEST_F(ShownLines, RefuseWhatIsNoColumnAndNoTime) {
    const std::vector<std::string> replay = {"replay", "-s", m_place.At("v.xml"), m_place.At("capture")};
    const std::pair<const char*, const char*> rows[] = {
        {"--columns", "time,call,whence"}, {"--since", "noon"}, {"--until-time", "-1s"}, {"--time", "local"}};
    for (const auto& [option, value] : rows) {
        std::vector<std::string> arguments = replay;
        arguments.insert(arguments.end(), {std::string(option) + "=" + value});
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.status, 2) << option;
        EXPECT_THAT(result.error, HasSubstr(value)) << option;
    }
}

}  // namespace
