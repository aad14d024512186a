#include "CommandList.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "DifferenceText.h"
#include "JUnitReport.h"
#include "Json.h"
#include "JsonLine.h"
#include "Terminal.h"
#include "TestFolder.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt test scenarios\n"
    "  qxlt test scenarios/volume --update\n"
    "  qxlt test scenarios/volume --update --exact\n"
    "  qxlt test scenarios --junit results.xml\n";

constexpr std::size_t kShownDifferences = 20;  // of one folder, in the text output
constexpr std::string_view kIndent = "    ";   // of these

struct TestOptions {
    std::vector<std::string> directories;
    bool update = false;
    bool exact = false;
    std::string junit;

    Updating Asked() const { return !update ? Updating::No : exact ? Updating::Exact : Updating::Lean; }
};

void PrintText(Output& output, const TestResult& result) {
    const Colors& paint = output.Paint();
    const std::string word = !result.Passed() ? paint.Red("FAIL") : paint.Green(result.updated ? "new " : "ok  ");
    output.Line(word + "  " + Printable(result.folder));
    if (!result.failure.empty()) output.Line("      " + Printable(result.failure));
    const std::size_t width = TerminalWidth(STDOUT_FILENO);
    const std::size_t room = width > kIndent.size() ? width - kIndent.size() : width;
    for (const std::string& line :
         DifferenceLines(result.differences, kShownDifferences, result.start, output.Paint(), room)) {
        output.Line(std::string(kIndent) + line);
    }
    if (!result.explanation.empty()) output.Line("      " + Printable(result.explanation));
}

void AddDifferences(JsonLine& line, const char* key, const TestResult& result, SharedJson Difference::*side) {
    line.BeginList(key);
    for (const Difference& difference : result.differences) {
        if (difference.*side != nullptr) line.AddJson((difference.*side)->dump());
    }
    line.EndList();
}

void PrintJson(Output& output, const TestResult& result) {
    JsonLine line;
    line.AddText("folder", result.folder);
    line.Add("passed", result.Passed());
    line.Add("updated", result.updated);
    line.AddText("failure", result.failure);
    AddDifferences(line, "missing", result, &Difference::missing);
    AddDifferences(line, "unexpected", result, &Difference::unexpected);
    line.AddText("explanation", result.explanation);
    output.Line(std::move(line).Finish());
}

int Test(const TestOptions& options, Format format) {
    const std::vector<std::string> folders = TestFolder::Find(options.directories);
    Progress progress;
    Output output(&progress);
    bool told = true;
    // Without a reader the results still go into the report and the status.
    output.OnEnd([&told](ExitStatus status) { told = status == kDone; });
    std::vector<TestResult> results;
    for (const std::string& folder : folders) {
        progress.Show("folder " + std::to_string(results.size() + 1) + " of " + std::to_string(folders.size()));
        results.push_back(TestFolder(folder).Run(options.Asked(), output, progress));
        (format == Format::Json ? PrintJson : PrintText)(output, results.back());
    }
    const auto failed = static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(), [](const TestResult& result) { return !result.Passed(); }));
    if (format == Format::Text)
        output.Line(Counted(results.size(), "folder") + ", " + std::to_string(failed) + " failed");
    if (!options.junit.empty()) WriteJUnit(options.junit, results);
    return failed == 0 && told ? kDone : kInputWrong;
}

}  // namespace

void AddTest(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<TestOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "test", "Compare the events of scenarios with those that are expected", kExamples,
                   [options, &invocation] { return Test(*options, invocation.common.format); });
    command.add_option("DIR", options->directories, "Folders with *.xml, a capture or dumps, and expected.jsonl")
        ->required()
        ->option_text("...");
    CLI::Option* const update = command.add_flag(
        "--update", options->update,
        "Have expected.jsonl hold: what happens, without times and ids; lines that hold stay as they are");
    command.add_flag("--exact", options->exact, "With --update: write all of it anew, with times and ids")
        ->needs(update);
    command.add_option("--junit", options->junit, "Write the results as JUnit XML")->option_text("FILE");
}

}  // namespace qxlt
