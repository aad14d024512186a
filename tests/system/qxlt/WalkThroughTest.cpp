// docs/qxlt.md and docs/recording.md stay true: their commands are run in their order, and they print what is shown.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <utility>

#include "Child.h"
#include "CommandNames.h"
#include "PageVisit.h"
#include "ReadFile.h"
#include "Workplace.h"

using testing::HasSubstr;

#ifdef QXLT_MEDIA_SERVER

namespace {

constexpr char kFence[] = "```";

#ifdef QXLT_IMPORTS_CTF
constexpr bool kImportsCtf = true;
#else
constexpr bool kImportsCtf = false;
#endif

// What stands for the program of a page, and what it is called here: whoever runs the tests may have it running.
using Names = std::map<std::string, std::string>;

std::string Renamed(std::string text, const Names& names) {
    for (const auto& [word, name] : names) text = std::regex_replace(text, std::regex(word), name);
    return text;
}

// A fenced block: "sh" holds commands that succeed, "sh fails" one that does not, "text" lines that the block of
// commands before it prints, among others. "cmake" shows a part of a file, and is not run. "sh ctf" is run, like any
// "sh", where the tool was built with what reads CTF; without it that block and its text are left out.
struct Block {
    std::string kind;
    std::string text;
};

std::vector<Block> ReadBlocks(const std::string& path, const Names& names = {}) {
    std::ifstream file(path);
    std::vector<Block> blocks;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(kFence, 0) == 0) {
            inside = !inside;
            if (inside) blocks.push_back({line.substr(sizeof kFence - 1), ""});
        } else if (inside) {
            blocks.back().text += Renamed(line, names) + "\n";
        }
    }
    return blocks;
}

// What only a tool with all of its parts can do.
std::vector<Block> ThatCanBeRun(const std::vector<Block>& blocks) {
    std::vector<Block> run;
    bool left = false;
    for (const Block& block : blocks) {
        left = block.kind == "sh ctf" ? !kImportsCtf : left && block.kind == "text";
        if (!left) run.push_back({block.kind == "sh ctf" ? "sh" : block.kind, block.text});
    }
    return run;
}

// Numbers, the units of durations and the width of columns differ from run to run.
std::string Normalised(const std::string& line) {
    const std::string timed = std::regex_replace(line, std::regex("\\b[0-9.]+ ([num]?s)\\b"), "0 s");
    return std::regex_replace(std::regex_replace(timed, std::regex("[0-9]+"), "0"), std::regex(" +"), " ");
}

std::vector<std::string> NormalisedLines(const std::string& text) {
    std::vector<std::string> lines = Lines(text);
    std::transform(lines.begin(), lines.end(), lines.begin(), Normalised);
    return lines;
}

std::string Marker(std::size_t block) {
    return "@@ end of block " + std::to_string(block);
}

// Nothing but what it says when the block starts no program. A reader of the page takes his time; by then the program
// has made the calls that `ready` matches in the tool's list.
std::string WaitFor(const Block& block, const std::string& ready) {
    std::smatch started;
    if (!std::regex_search(block.text, started, std::regex("(?:^|\\n)(?:\\./)?([^\\s/]+)[^\\n]* &\\n$"))) return "";
    return "until qxlt list -p " + started[1].str() + " 2>&1 | grep -qE ' [1-9][0-9]+ calls  " + ready +
           "'; do :; done\n";
}

std::string ScriptOf(const std::vector<Block>& blocks, const std::string& ready) {
    std::string script = "set -e\nexec 2>&1\ntrap 'kill $(jobs -p) 2>/dev/null || true' EXIT\n";
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i].kind == "sh") script += blocks[i].text;
        if (blocks[i].kind == "sh fails") script += "if " + blocks[i].text + "then exit 99; fi\n";
        script += "echo '" + Marker(i) + "'\n";
        script += WaitFor(blocks[i], ready);
    }
    return script;
}

std::string OutputOf(const std::string& output, std::size_t block) {
    const std::string begin = block == 0 ? "" : Marker(block - 1) + "\n";
    const std::size_t from = output.find(begin) + begin.size();
    return output.substr(from, output.find(Marker(block) + "\n") - from);
}

std::string DirectoryOf(const std::string& program) {
    return std::filesystem::path(program).parent_path().string();
}

// Runs the commands of the page, and expects that they print what is shown below them.
void Walk(const std::vector<Block>& blocks, const std::string& ready, const Workplace& place,
          std::map<std::string, std::string> environment) {
    std::filesystem::create_directory(place.At("run"));
    std::filesystem::permissions(place.At("run"), std::filesystem::perms::owner_all);
    Child::Setup setup;
    setup.command = {"/bin/bash", "-c", ScriptOf(blocks, ready)};
    setup.directory = place.Path();
    setup.environment = std::move(environment);
    setup.environment["QX_RUNTIME_DIR"] = place.At("run");
    setup.environment["PATH"] = DirectoryOf(QXLT_PROGRAM) + ":" + place.Path() + ":/usr/bin:/bin";
    Child shell(setup);
    ASSERT_EQ(shell.Finish(), 0) << shell.Output();
    std::size_t commands = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        ASSERT_THAT(blocks[i].kind, testing::AnyOf("sh", "sh fails", "text", "cmake"));
        if (blocks[i].kind == "cmake") continue;
        if (blocks[i].kind != "text") {
            commands = i;
            continue;
        }
        const std::vector<std::string> printed = NormalisedLines(OutputOf(shell.Output(), commands));
        for (const std::string& line : NormalisedLines(blocks[i].text)) {
            const bool isGap = line == " ...";
            EXPECT_TRUE(isGap || std::count(printed.begin(), printed.end(), line) != 0)
                << line << "\nis not printed by\n"
                << blocks[commands].text;
        }
    }
}

#ifdef QXLT_CXX
// A compiler under the name that a page calls it by, with the options that all of this is built with.
void WriteCompiler(const Workplace& place, const std::string& name, const std::string& command) {
    const std::string path = place.Write(name, "#!/bin/sh\nexec " + command + " \"$@\"\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}
#endif

}  // namespace

TEST(WalkThroughTest, EveryCommandOfTheToolWorksAndPrintsWhatIsShown) {
    const Workplace place;
    const Names names{{"media-server", place.CopyUnderOwnName(QXLT_MEDIA_SERVER)}};
    std::vector<Block> blocks = ThatCanBeRun(ReadBlocks(QXLT_SOURCE_DIR "/docs/qxlt.md", names));
    for (Block& block : blocks) {
        if (!ToolHasPage() && block.text.rfind("qxlt view ", 0) == 0) block.kind = "sh fails";
    }
    ASSERT_GT(blocks.size(), 10u);
    Walk(blocks, "audio.SetVolume", place, {});
}

#ifdef QXLT_CXX
// The compilers find headers and library as if they were installed.
TEST(WalkThroughTest, EveryCommandFromAnUntracedProgramToItsFirstEventWorks) {
    const Workplace place;
    const std::string own = "qx" + std::to_string(getpid());
    const Names names{{"kettle", own + "k"}, {"lamp", own + "l"}};
    const std::vector<Block> blocks = ReadBlocks(QXLT_SOURCE_DIR "/docs/recording.md", names);
    ASSERT_GE(blocks.size(), 7u);
    WriteCompiler(place, "c++", QXLT_CXX);
    WriteCompiler(place, "cc", QXLT_CC);
    Walk(blocks, "", place,
         {{"CPATH", QXLT_SOURCE_DIR "/platform/host/include"},
          {"LIBRARY_PATH", DirectoryOf(QXLT_RECORDER)},
          {"LD_LIBRARY_PATH", DirectoryOf(QXLT_RECORDER)}});
}
#endif

TEST(WalkThroughTest, TellsOfEveryCommand) {
    std::string commands;
    for (const Block& block : ReadBlocks(QXLT_SOURCE_DIR "/docs/qxlt.md")) {
        if (block.kind == "sh" || block.kind == "sh ctf") commands += block.text;
    }
    ASSERT_GE(CommandNames().size(), 7u);
    // What needs a broker cannot be walked through.
    EXPECT_THAT(qxlt::ReadFile(QXLT_SOURCE_DIR "/docs/fleet.md"), HasSubstr("qxlt fleet "));
    for (const std::string& command : CommandNames()) {
        if (command == "fleet") continue;
        EXPECT_THAT(commands, HasSubstr("qxlt " + command + " "));
    }
}

#endif
