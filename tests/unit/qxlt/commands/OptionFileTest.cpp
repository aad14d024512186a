#include "OptionFile.h"

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "Command.h"
#include "Workplace.h"

namespace qxlt {
namespace {

std::string Shown(const std::vector<OptionLine>& lines) {
    std::string text;
    for (const OptionLine& line : lines) {
        text += std::to_string(line.line) + ":" + line.name + "=<" + line.value + ">";
    }
    return text;
}

std::string FaultOf(const std::string& text) {
    try {
        ReadOptionLines("f", text);
    } catch (const CLI::ParseError& error) {
        return error.what();
    }
    return "";
}

TEST(OptionLines, HaveNamesAndValues) {
    const struct {
        const char* text;
        const char* lines;
    } rows[] = {
        {"", ""},
        {"\n  \n# a = b\n; c\n", ""},
        {"a=b", "1:a=<b>"},
        {"\n  a =  b c \r\n", "2:a=<b c>"},
        {"a", "1:a=<true>"},
        {"a =", "1:a=<>"},
        {"a = \" b \"", "1:a=< b >"},
        {"a = 'in.0 == \"#x\"'", "1:a=<in.0 == \"#x\">"},
        {"a = \"b", "1:a=<\"b>"},
        {"a = \"", "1:a=<\">"},
        {"where = in.0 >= 80", "1:where=<in.0 >= 80>"},
        {"a = x, y # z", "1:a=<x, y # z>"},
        {"a=1\na=2", "1:a=<1>2:a=<2>"},
    };
    for (const auto& row : rows) EXPECT_EQ(Shown(ReadOptionLines("f", row.text)), row.lines) << row.text;
}

TEST(OptionLines, SayWhatIsWrongWithThem) {
    EXPECT_EQ(FaultOf("a=b\n[run]"), "f:2: there are no sections; write name = value");
    EXPECT_EQ(FaultOf(" = b"), "f:1: no name before the =; write name = value");
    EXPECT_EQ(FaultOf("--pause = fast"), "f:1: write \"--pause\" without its dashes");
}

// A command with an option of each kind.
class OptionFileTest : public testing::Test {
protected:
    OptionFileTest() {
        AddChoice<bool>(m_command, "--pause", m_fast, {{"fast", true}, {"normal", false}}, "");
        AddConfigOption(m_command);
        m_command.add_option("-s,--script", m_scripts)->allow_extra_args(false);
        m_command.add_option("--until", m_until);
        m_command.add_flag("--history", m_history);
        m_command.add_flag("--explain", m_explain);
        m_command.add_flag_callback("--quiet", [this] { m_quiet = true; });
        m_command.add_option_function<int>("--number", [this](int number) { m_number = number; });
    }

    // What was wrong; empty: nothing.
    std::string Parse(const std::string& content, std::vector<std::string> arguments = {}) {
        m_place.Write("c", content);
        arguments.insert(arguments.begin(), {"run", "--config", m_place.At("c")});
        return ParseAll(arguments);
    }
    std::string ParseAll(const std::vector<std::string>& arguments) {
        try {
            m_app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        } catch (const CLI::ParseError& error) {
            const std::string text = error.what();
            const std::string folder = m_place.Path() + "/";
            return text.compare(0, folder.size(), folder) == 0 ? text.substr(folder.size()) : text;
        }
        return "";
    }

    const Workplace m_place;
    CLI::App m_app;
    CLI::App& m_command = *m_app.add_subcommand("run");
    bool m_fast = false;
    std::vector<std::string> m_scripts;
    std::string m_until;
    bool m_history = false;
    std::string m_explain;
    bool m_quiet = false;
    int m_number = 0;
};

TEST_F(OptionFileTest, GivesOptionsOfEachKind) {
    EXPECT_EQ(Parse("pause = fast\nscript = a b.xml\nscript = c.xml\nuntil = 'X Y'\nhistory\nexplain = HIGH\n"
                    "quiet = true\nnumber = 7\n"),
              "");
    EXPECT_TRUE(m_fast);
    EXPECT_EQ(m_scripts, (std::vector<std::string>{"a b.xml", "c.xml"}));
    EXPECT_EQ(m_until, "X Y");
    EXPECT_TRUE(m_history);
    EXPECT_EQ(m_explain, "HIGH");
    EXPECT_TRUE(m_quiet);
    EXPECT_EQ(m_number, 7);
}

TEST_F(OptionFileTest, FlagsThatAreFalseAreNotGiven) {
    EXPECT_EQ(Parse("history = false\nexplain = false\nquiet = false\n"), "");
    EXPECT_FALSE(m_history);
    EXPECT_EQ(m_explain, "");
    EXPECT_FALSE(m_quiet);
}

TEST_F(OptionFileTest, TheCommandLineWins) {
    EXPECT_EQ(Parse("pause = fast\nscript = a.xml\nscript = b.xml\nuntil = X\nnumber = 7\n",
                    {"--pause=normal", "-s", "c.xml", "--number", "8"}),
              "");
    EXPECT_FALSE(m_fast);
    EXPECT_EQ(m_scripts, (std::vector<std::string>{"c.xml"}));
    EXPECT_EQ(m_until, "X");
    EXPECT_EQ(m_number, 8);
}

TEST_F(OptionFileTest, NamesThePlaceOfAMistake) {
    const struct {
        const char* content;
        const char* fault;
    } rows[] = {
        {"\nhistroy\n", "c:2: no option \"histroy\"; did you mean history"},
        {"xxxxxxxxxxxx = 1\n", "c:1: no option \"xxxxxxxxxxxx\""},
        {"config = c\n", "c:1: no option \"config\""},
        {"help\n", "c:1: no option \"help\""},
        {"s = a.xml\n", "c:1: no option \"s\""},
    };
    for (const auto& row : rows) EXPECT_EQ(Parse(row.content), row.fault) << row.content;
    EXPECT_EQ(Parse("# the pause\npause = slow\n"), "c:2: pause: \"slow\" is none of fast|normal");
    EXPECT_EQ(Parse("number = many\n").rfind("c:1: ", 0), 0u);
    EXPECT_EQ(Parse("until = A\nuntil = B\n").rfind("c:2: --until: ", 0), 0u);
}

TEST_F(OptionFileTest, AFileMayBeMissingWhereThatIsSaid) {
    EXPECT_EQ(ParseAll({"run", "--config=-" + m_place.At("none")}), "");
    m_place.Write("c", "history\n");
    EXPECT_EQ(ParseAll({"run", "--config=-" + m_place.At("c")}), "");
    EXPECT_TRUE(m_history);
    EXPECT_THROW(ParseAll({"run", "--config", m_place.At("none")}), std::exception);
}

}  // namespace
}  // namespace qxlt
