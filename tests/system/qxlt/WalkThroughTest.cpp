// docs/qxlt.md stays true: its commands are run in their order, and they print what it shows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>

#include "Child.h"
#include "CommandNames.h"
#include "Workplace.h"

using testing::HasSubstr;

#ifdef QXLT_MEDIA_SERVER

namespace {

constexpr char kFence[] = "```";
constexpr char kProgram[] = "media-server";

// A fenced block: "sh" holds commands that succeed, "sh fails" one that does not, "text" lines that the block of
// commands before it prints, among others.
struct Block {
    std::string kind;
    std::string text;
};

// With the program of the page under another name.
std::vector<Block> ReadBlocks(const std::string& path, const std::string& program = kProgram) {
    std::ifstream file(path);
    std::vector<Block> blocks;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(kFence, 0) == 0) {
            inside = !inside;
            if (inside) blocks.push_back({line.substr(sizeof kFence - 1), ""});
        } else if (inside) {
            blocks.back().text += std::regex_replace(line, std::regex(kProgram), program) + "\n";
        }
    }
    return blocks;
}

// Numbers and the width of columns differ from run to run.
std::string Normalised(const std::string& line) {
    return std::regex_replace(std::regex_replace(line, std::regex("[0-9]+"), "0"), std::regex(" +"), " ");
}

std::vector<std::string> NormalisedLines(const std::string& text) {
    std::vector<std::string> lines = Lines(text);
    std::transform(lines.begin(), lines.end(), lines.begin(), Normalised);
    return lines;
}

std::string Marker(std::size_t block) {
    return "@@ end of block " + std::to_string(block);
}

std::string ScriptOf(const std::vector<Block>& blocks, const std::string& program) {
    std::string script = "set -e\nexec 2>&1\ntrap 'kill $(jobs -p) 2>/dev/null || true' EXIT\n";
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i].kind == "sh") script += blocks[i].text;
        if (blocks[i].kind == "sh fails") script += "if " + blocks[i].text + "then exit 99; fi\n";
        script += "echo '" + Marker(i) + "'\n";
        // A reader of the page takes his time; by then the program has made calls of every method shown.
        if (i == 0)
            script += "until qxlt list -p " + program +
                      " 2>&1 | grep -qE ' [1-9][0-9]+ calls  audio.SetVolume'; do :; done\n";
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

}  // namespace

TEST(WalkThroughTest, EveryCommandWorksAndPrintsWhatIsShown) {
    const Workplace place;
    // Whoever runs the tests may have the program of the page running.
    const std::string program = place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
    const std::vector<Block> blocks = ReadBlocks(QXLT_SOURCE_DIR "/docs/qxlt.md", program);
    ASSERT_GT(blocks.size(), 10u);
    std::filesystem::create_directory(place.At("run"));
    std::filesystem::permissions(place.At("run"), std::filesystem::perms::owner_all);
    Child::Setup setup;
    setup.command = {"/bin/bash", "-c", ScriptOf(blocks, program)};
    setup.directory = place.Path();
    setup.environment = {{"QX_RUNTIME_DIR", place.At("run")},
                         {"PATH", DirectoryOf(QXLT_PROGRAM) + ":" + place.Path() + ":/usr/bin:/bin"}};
    Child shell(setup);
    ASSERT_EQ(shell.Finish(), 0) << shell.Output();
    std::size_t commands = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        ASSERT_THAT(blocks[i].kind, testing::AnyOf("sh", "sh fails", "text"));
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

TEST(WalkThroughTest, TellsOfEveryCommand) {
    std::string commands;
    for (const Block& block : ReadBlocks(QXLT_SOURCE_DIR "/docs/qxlt.md")) {
        if (block.kind == "sh") commands += block.text;
    }
    ASSERT_GE(CommandNames().size(), 7u);
    for (const std::string& command : CommandNames()) {
        EXPECT_THAT(commands, HasSubstr("qxlt " + command + " "));
    }
}

#endif
