// The command line itself: help, and what is said about a faulty one.
#include <gmock/gmock.h>

#include "Child.h"
#include "CommandNames.h"
#include "Workplace.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(Usage, HelpShowsTheCommands) {
    const ToolResult result = RunTool({"--help"});
    EXPECT_EQ(result.status, 0);
    for (const char* const command : {"run", "replay", "decode", "list", "clean", "check", "test", "trace", "top",
                                      "report", "export", "view", "fleet"}) {
        EXPECT_THAT(result.output, HasSubstr(std::string("  ") + command + " ")) << command;
    }
    EXPECT_EQ(result.error, "");
}

TEST(Usage, HelpOfEachCommandHasExamples) {
    for (const std::string& command : CommandNames()) {
        const ToolResult result = RunTool({command, "--help"});
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_THAT(result.output, HasSubstr("Examples:\n  qxlt " + command)) << command;
        const std::string formats = command == "export" ? "chrome|ctf" : "text|json";
        const bool hasFormats = result.output.find("--format " + formats) != std::string::npos;
        EXPECT_EQ(hasFormats, command != "view" && command != "import") << result.output;
        EXPECT_THAT(result.output, HasSubstr("--level silent|fatal|major|warning|debug|info")) << command;
    }
}

TEST(Usage, VersionIsOneLine) {
    const ToolResult result = RunTool({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, testing::MatchesRegex("qxlt [0-9.]+\n"));
}

TEST(Usage, TellsThatTheHelpCannotBeWritten) {
    Child::Setup setup;
    setup.output = "/dev/full";
    for (const char* const option : {"--help", "--version"}) {
        const ToolResult result = RunTool({option}, setup);
        EXPECT_EQ(result.status, 1) << option;
        EXPECT_THAT(result.error, StartsWith("error: standard output: No space left on device")) << option;
    }
}

struct FaultyLine {
    std::vector<std::string> arguments;
    std::string said;
};

class FaultyCommandLine : public testing::TestWithParam<FaultyLine> {};

TEST_P(FaultyCommandLine, GivesOneLineAndStatus2) {
    const ToolResult result = RunTool(GetParam().arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, StartsWith("error: "));
    EXPECT_THAT(result.error, HasSubstr(GetParam().said));
    EXPECT_EQ(Lines(result.error).size(), 1u) << result.error;
}

INSTANTIATE_TEST_SUITE_P(
    Usage, FaultyCommandLine,
    testing::Values(FaultyLine{{}, "see qxlt --help"}, FaultyLine{{"dcode"}, "no command \"dcode\""},
                    FaultyLine{{"decode"}, "DUMP is required"},
                    FaultyLine{{"decode", "--format", "xml", "x"}, "\"xml\" is none of text|json"},
                    FaultyLine{{"decode", "--level", "loud", "x"}, "\"loud\" is none of silent|fatal"},
                    FaultyLine{{"decode", "--colour", "x"}, "--colour"},
                    FaultyLine{{"replay", "x"}, "--script is required"},
                    FaultyLine{{"replay", "-s", "x.xml"}, "INPUT is required"},
                    FaultyLine{{"replay", "-s", "x", "--prime", "--no-prime", "y"}, "excludes"},
                    FaultyLine{{"run"}, "--script is required"},
                    FaultyLine{{"run", "-s", "x", "--pause", "long"}, "\"long\" is none of fast|normal"},
                    FaultyLine{{"run", "-s", "x", "--for", "soon"}, "soon"},
                    FaultyLine{{"run", "-s", "x", "--for", "-1"}, "--for"},
                    FaultyLine{{"run", "-s", "x", "--for", "nan"}, "\"nan\" is no time above 0"},
                    FaultyLine{{"test"}, "DIR is required"}, FaultyLine{{"view", "x"}, "--output is required"},
                    FaultyLine{{"view", "-o", "x"}, "CAPTURE is required"}, FaultyLine{{"fleet"}, "BROKER is required"},
                    FaultyLine{{"fleet", "mqtt://h/p", "--client", "a b"}, "a client's name has up to 64"}));

}  // namespace
