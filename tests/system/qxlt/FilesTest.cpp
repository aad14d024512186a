// The files that are installed beside the program: they say what the program does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <utility>

#include "Child.h"
#include "CommandNames.h"
#include "ReadFile.h"
#include "Workplace.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;

namespace {

const std::string kFiles = QXLT_SOURCE_DIR "/tools/qxlt/";
constexpr char kSchemaChecker[] = "/usr/bin/xmllint";
constexpr char kManual[] = "/usr/bin/man";

std::vector<std::string> Matches(const std::string& text, const std::string& pattern) {
    std::vector<std::string> found;
    const std::regex expression(pattern);
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) found.push_back((*at)[1]);
    return found;
}

std::vector<std::string> LongOptions(const std::string& command) {
    const std::string help = RunTool({command, "--help"}).output;
    const std::size_t from = help.find("Options:");
    return Matches(help.substr(from, help.find("Examples:") - from), "\n  [-a-z,]*(--[a-z-]+)");
}

Child::Setup Program(std::vector<std::string> command) {
    Child::Setup setup;
    setup.command = std::move(command);
    return setup;
}

// The manual page as plain text, with the lines of one command.
std::string ManualOf(const std::string& command) {
    std::string page = qxlt::ReadFile(kFiles + "qxlt.1");
    page = std::regex_replace(page, std::regex("\\\\-"), "-");
    const std::size_t from = page.find("\n.SS \"qxlt " + command + " ");
    if (from == std::string::npos) return std::string();
    const std::size_t common = page.find("\n.SH OPTIONS");
    const std::size_t next = std::min(page.find("\n.SS \"qxlt ", page.find("\n.TP", from)), common);
    return page.substr(from, next - from) + page.substr(common);
}

// What the completion offers for the last of the words.
std::vector<std::string> Completions(const std::string& words, std::map<std::string, std::string> environment = {}) {
    const std::string script = ". " + kFiles + "qxlt.bash; COMP_WORDS=(qxlt " + words +
                               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _qxlt " QXLT_PROGRAM
                               "; printf '%s\\n' \"${COMPREPLY[@]}\"";
    Child::Setup setup = Program({"/bin/bash", "-c", script});
    setup.environment = std::move(environment);
    Child bash(setup);
    EXPECT_EQ(bash.Finish(), 0) << bash.Error();
    EXPECT_EQ(bash.Error(), "");
    return Lines(bash.Output());
}

bool IsValid(const std::string& file) {
    Child checker(Program({kSchemaChecker, "--noout", "--relaxng", kFiles + "scenario.rng", file}));
    const int status = checker.Finish();
    EXPECT_THAT(status, testing::AnyOf(0, 1, 3)) << checker.Error();
    return status == 0;
}

}  // namespace

TEST(ManualTest, TellsOfEachCommandAndOption) {
    ASSERT_THAT(CommandNames(), ElementsAre("run", "replay", "decode", "list", "clean", "check", "test", "trace", "top",
                                            "report", "export", "import", "view", "fleet"));
    for (const std::string& command : CommandNames()) {
        const std::string manual = ManualOf(command);
        ASSERT_NE(manual, "") << command;
        ASSERT_GE(LongOptions(command).size(), 3u) << command;  // those that all commands take
        for (const std::string& option : LongOptions(command)) {
            EXPECT_THAT(manual, testing::ContainsRegex(option + "[^a-z-]")) << command;
        }
    }
}

TEST(ManualTest, TellsOfNoOptionThatIsNotThere) {
    for (const std::string& command : CommandNames()) {
        std::vector<std::string> known = LongOptions(command);
        known.emplace_back("--version");
        // Among those of all other commands.
        if (command == "view" || command == "import") known.emplace_back("--format");
        for (const std::string& option : Matches(ManualOf(command), "\n\\.[BI][A-Z]* [^\n]*(--[a-z-]+)")) {
            EXPECT_THAT(known, Contains(option)) << command;
        }
    }
}

TEST(ManualTest, HasAnExampleOfEachCommand) {
    const std::string page = std::regex_replace(qxlt::ReadFile(kFiles + "qxlt.1"), std::regex("\\\\-"), "-");
    const std::string examples = page.substr(page.find("\n.SH EXAMPLES"));
    for (const std::string& command : CommandNames()) EXPECT_THAT(examples, HasSubstr("\nqxlt " + command + " "));
}

// Each of these is a cause in the program.
TEST(ManualTest, NamesTheCausesOfEachExitStatus) {
    const std::string page = std::regex_replace(qxlt::ReadFile(kFiles + "qxlt.1"), std::regex("\\\\-"), "-");
    const std::size_t done = page.find("\n.SH EXIT STATUS\n.TP\n.B 0\n");
    const std::size_t wrong = page.find("\n.B 1\n", done);
    const std::size_t noStart = page.find("\n.B 2\n", wrong);
    const std::size_t end = page.find("\n.SH ", noStart);
    ASSERT_NE(end, std::string::npos);
    for (const char* const cause :
         {"damaged", "no dump", ".qxloss", "an event in error", "not well-formed", "error found by", "expected",
          "could not be tested", "--on-loss fail", "--keep", "--keep-on", "--exec", "--output",
          "standard output cannot be written", "second signal"}) {
        EXPECT_THAT(page.substr(wrong, noStart - wrong), HasSubstr(cause));
    }
    for (const char* const cause : {"command line", "--until", "--explain", "no process to watch", "cannot be read",
                                    "no capture", "unknown version", "--keep", "--keep-on", "--exec", "--output",
                                    "--junit", "--for", "\\fBlist -p", "memory"}) {
        EXPECT_THAT(page.substr(noStart, end - noStart), HasSubstr(cause));
    }
}

TEST(ManualTest, IsWellFormed) {
    if (!std::filesystem::exists(kManual)) GTEST_SKIP() << kManual << " is not installed";
    Child::Setup setup = Program({kManual, "--warnings", "-l", kFiles + "qxlt.1"});
    setup.environment = {{"MANPAGER", "cat"}, {"LC_ALL", "C.UTF-8"}, {"MANWIDTH", "80"}};
    Child manual(setup);
    EXPECT_EQ(manual.Finish(), 0);
    EXPECT_EQ(manual.Error(), "");
    EXPECT_THAT(manual.Output(), HasSubstr("qxlt check SCRIPT..."));
}

// What is commented out in it, too.
TEST(ServiceExampleTest, HasOptionsThatThereAre) {
    const std::string file = QXLT_SOURCE_DIR "/examples/service/volume.conf";
    const std::vector<std::string> known = LongOptions("run");
    for (const std::string& option : Matches(qxlt::ReadFile(file), "\n#?([a-z-]+) = ")) {
        EXPECT_THAT(known, Contains("--" + option));
    }
    const Workplace place;
    const ToolResult result = RunTool({"run", "-s", QXLT_SOURCE_DIR "/examples/scenarios/volume.xml", "--config", file,
                                       "--status-file", place.At("status.json"), "-p", "nobody", "--for", "0.1s"});
    EXPECT_THAT(result.error, HasSubstr("the time is over and ")) << "its options are taken";
}

TEST(CompletionTest, KnowsEachCommandAndOption) {
    EXPECT_THAT(Completions("''"), IsSupersetOf(CommandNames()));
    for (const std::string& command : CommandNames()) {
        EXPECT_THAT(Completions(command + " --"), testing::UnorderedElementsAreArray(LongOptions(command))) << command;
    }
}

TEST(CompletionTest, KnowsTheWordsOfChoices) {
    EXPECT_THAT(Completions("--v"), ElementsAre("--version"));
    EXPECT_THAT(Completions("ch"), ElementsAre("check"));
    EXPECT_THAT(Completions("run --pause ''"), ElementsAre("fast", "normal"));
    EXPECT_THAT(Completions("run --on-loss f"), ElementsAre("fail"));
    EXPECT_THAT(Completions("decode --format j"), ElementsAre("json"));
    EXPECT_THAT(Completions("decode --format = j"), ElementsAre("json"));
    EXPECT_THAT(Completions("decode --format ="), ElementsAre("text", "json"));
    EXPECT_THAT(Completions("export --format ''"), ElementsAre("chrome", "ctf"));
    EXPECT_THAT(Completions("import ''"), ElementsAre("ctf", "uftrace"));
    EXPECT_THAT(Completions("trace --pause f"), ElementsAre("fast"));
    EXPECT_THAT(Completions("report --sort t"), ElementsAre("threads"));
    EXPECT_THAT(Completions("top --sort p"), ElementsAre("p99"));
    EXPECT_THAT(Completions("list --level ''"), ElementsAre("silent", "fatal", "major", "warning", "debug", "info"));
    EXPECT_THAT(Completions("check --explain QX02"), Contains("QX021"));
    EXPECT_THAT(Completions("check --explain = QX02"), Contains("QX021"));
    EXPECT_THAT(Completions("check volume"), ElementsAre(""));
}

TEST(CompletionTest, KnowsTheEventsOfTheScriptsThatAreThere) {
    const Workplace place;
    const auto event = [](const std::string& name) {
        return "<event name=\"" + name + "\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"ALWAYS\"/>";
    };
    const std::string one = place.Write("one.xml", VolumeScript(event("HIGH") + event("LOW") + event("HIGH")));
    const std::string two = place.Write("two", VolumeScript(event("HUGE") + event("a b; `c`")));
    EXPECT_THAT(Completions("run -s " + one + " --until ''"), ElementsAre("HIGH", "LOW"));
    EXPECT_THAT(Completions("run -s " + one + " -s " + two + " --event H"), ElementsAre("HIGH", "HUGE"));
    EXPECT_THAT(Completions("replay --script " + two + " --explain ="), ElementsAre("HUGE"));
    EXPECT_THAT(Completions("replay -s " + two + " " + one + " --explain = L"), ElementsAre("LOW"));
    // Without "=" it takes no event.
    EXPECT_THAT(Completions("replay -s " + one + " --explain L"), ElementsAre(""));
    EXPECT_THAT(Completions("run -s none.xml --until ''"), ElementsAre(""));
    EXPECT_THAT(Completions("run -s " + place.Write("no.xml", "<Scenario") + " --until ''"), ElementsAre(""));
}

#ifdef QXLT_MEDIA_SERVER
TEST(CompletionTest, KnowsTheProgramsThatRecord) {
    const Workplace place;
    const std::map<std::string, std::string> environment = {{"QX_RUNTIME_DIR", place.At("rec")}};
    const std::string name = place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
    Child::Setup setup = Program({place.At(name), "--rate", "1000"});
    setup.environment = environment;
    Child server(setup);
    const auto offered = [&environment](const std::string& words) { return Completions(words, environment); };
    for (int i = 0; i < 600 && offered("run -p ''").front().empty(); ++i) continue;
    for (const char* const words : {"run -p ''", "run --process =", "trace -p ''", "list -p ''", "decode -p ''"}) {
        EXPECT_THAT(offered(words), ElementsAre(name)) << words;
    }
    server.Signal(SIGKILL);
    server.Finish();
    EXPECT_THAT(offered("run -p ''"), ElementsAre(""));
    EXPECT_THAT(offered("list -p ''"), ElementsAre(name));
}
#endif

TEST(SchemaTest, TakesTheExamplesAndWhatTheToolMakes) {
    if (!std::filesystem::exists(kSchemaChecker)) GTEST_SKIP() << kSchemaChecker << " is not installed";
    for (const auto& entry : std::filesystem::directory_iterator(QXLT_SOURCE_DIR "/examples/scenarios")) {
        EXPECT_TRUE(IsValid(entry.path().string())) << entry.path();
    }
    const Workplace place;
    place.Write("a.qxdump", VolumeDump({1}));
    EXPECT_TRUE(IsValid(place.Write("a.xml", RunTool({"list", place.At("a.qxdump"), "--as-script"}).output)));
    EXPECT_TRUE(IsValid(place.Write("b.xml", "<session><a b='c'/></session>")));
}

// What a schema can say. The other mistakes are matters of values, or of several elements.
TEST(SchemaTest, RefusesMistakes) {
    if (!std::filesystem::exists(kSchemaChecker)) GTEST_SKIP() << kSchemaChecker << " is not installed";
    const std::set<std::string> beyond = {"QX008", "QX012", "QX013", "QX017", "QX018", "QX019", "QX027", "QX032",
                                          "QX033", "QX034", "QX035", "QX038", "QX041", "QX042", "QX044", "QX046",
                                          "QX047", "QX048", "QX049", "QX051", "QX052", "QX054", "QX060", "QX061",
                                          "QX062", "QX070", "QX080", "QX081", "QX082", "QX083", "QX084"};
    std::size_t refused = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QXLT_SOURCE_DIR "/tests/system/qxlt/samples")) {
        const std::string code = entry.path().stem().string();
        if (entry.path().extension() != ".xml") continue;
        EXPECT_EQ(IsValid(entry.path().string()), beyond.count(code) != 0) << code;
        if (beyond.count(code) == 0) ++refused;
    }
    EXPECT_GE(refused, 20u);
}
