#include "CommandList.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <utility>

#include "JUnitReport.h"
#include "Json.h"
#include "JsonLine.h"
#include "TestFolder.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt test scenarios\n"
    "  qxlt test scenarios/volume --update\n"
    "  qxlt test scenarios --junit results.xml\n";

constexpr std::size_t kShownLines = 20;  // of one folder's differences, in the text output

struct TestOptions {
    std::vector<std::string> directories;
    bool update = false;
    std::string junit;
};

void PrintText(Output& output, const TestResult& result) {
    const Colors& paint = output.Paint();
    const std::string word = !result.Passed() ? paint.Red("FAIL") : paint.Green(result.updated ? "new " : "ok  ");
    output.Line(word + "  " + Printable(result.folder));
    if (!result.failure.empty()) output.Line("      " + Printable(result.failure));
    const std::vector<std::string> lines = DiffText(result);
    const std::size_t shown = std::min(lines.size(), kShownLines);
    for (std::size_t i = 0; i < shown; ++i) {
        const std::string line = Printable(lines[i]);
        output.Line("    " + (lines[i].front() == '-' ? paint.Red(line) : paint.Green(line)));
    }
    if (shown < lines.size()) output.Line("    and " + std::to_string(lines.size() - shown) + " more");
    if (!result.explanation.empty()) output.Line("      " + Printable(result.explanation));
}

void AddDifferences(JsonLine& line, const char* key, const TestResult& result, DiffLine::Kind kind) {
    line.BeginList(key);
    for (const DiffLine& difference : result.diff) {
        if (difference.kind == kind) line.AddJson(difference.line->dump());
    }
    line.EndList();
}

void PrintJson(Output& output, const TestResult& result) {
    JsonLine line;
    line.AddText("folder", result.folder);
    line.Add("passed", result.Passed());
    line.Add("updated", result.updated);
    line.AddText("failure", result.failure);
    AddDifferences(line, "missing", result, DiffLine::Kind::Missing);
    AddDifferences(line, "unexpected", result, DiffLine::Kind::Unexpected);
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
        results.push_back(TestFolder(folder).Run(options.update, output, progress));
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
    command.add_flag("--update", options->update, "Write what happens to expected.jsonl");
    command.add_option("--junit", options->junit, "Write the results as JUnit XML")->option_text("FILE");
}

}  // namespace qxlt
