#include "CommandList.h"
#include "Messages.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <deque>
#include <memory>
#include <set>
#include <utility>

#include "CheckRecorded.h"
#include "Checks.h"
#include "JoinedScripts.h"
#include "JsonLine.h"
#include "Output.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt check volume.xml\n"
    "  qxlt check volume.xml input.xml --against capture\n"
    "  qxlt check --explain QX034\n";

constexpr char kAllChecks[] = "all";

struct CheckOptions {
    std::vector<std::string> scripts;
    std::vector<std::string> against;
    std::string explain;
    bool events = false;
};

class CheckRun final {
public:
    CheckRun(const CheckOptions& options, Format format)
        : m_options(options), m_format(format), m_output(&m_progress) {}

    int Perform() {
        for (const std::string& file : m_options.scripts) m_pointers.push_back(&m_scripts.emplace_back(file));
        const ScenarioOutline outline(m_pointers);
        CheckScripts(outline, m_findings);
        if (m_options.against.empty()) CheckPackages(outline, m_findings);
        const bool whole = m_options.against.empty() || Compare(outline);
        return Print() || !whole ? kInputWrong : kDone;
    }

private:
    // Returns whether nothing was wrong in what was recorded.
    bool Compare(const ScenarioOutline& outline) {
        const Inventory inventory = Inventory::Read(m_options.against, PrintFault, m_progress);
        const bool nothing = !inventory.Whole() && inventory.Methods().empty();
        if (!nothing) m_calls = CheckRecorded(outline, inventory, m_findings);
        if (!inventory.Whole()) m_output.Failed();
        return inventory.Whole();
    }

    // Returns whether there is an error.
    bool Print() {
        const std::vector<Finding> findings = m_findings.Sorted(m_pointers);
        const bool failed =
            std::any_of(findings.begin(), findings.end(), [](const Finding& finding) { return finding.IsError(); });
        if (failed) m_output.Failed();
        for (const Finding& finding : findings) {
            m_output.Line(m_format == Format::Json ? JsonOf(finding) : TextLine(finding));
        }
        for (const MethodCalls& calls : m_calls) {
            m_output.Line(m_format == Format::Json ? JsonOf(calls) : TextLine(calls));
        }
        return failed;
    }

    std::string TextLine(const Finding& finding) const {
        const Colors& paint = m_output.Paint();
        const std::string severity = std::string(SeverityName(finding.check->severity)) + ":";
        return paint.Bold(finding.PlaceText() + ": ") +
               (finding.IsError() ? paint.Red(severity) : paint.Yellow(severity)) + " " + finding.Told() +
               paint.Dim(std::string(" [") + finding.check->code + "]");
    }

    std::string TextLine(const MethodCalls& calls) const {
        const TextPlace place = calls.method->place;
        return Place(Printable(calls.method->script->File()), place.line, place.column) +
               ": note: " + Counted(calls.calls, "call") + " of " + Printable(calls.name) + " recorded";
    }

    static void AddPlace(JsonLine& line, const ScriptText& script, TextPlace place) {
        line.AddText("file", script.File());
        line.Add("line", place.line);
        line.Add("column", place.column);
    }

    static std::string JsonOf(const Finding& finding) {
        JsonLine line;
        AddPlace(line, *finding.script, finding.place);
        line.AddText("severity", SeverityName(finding.check->severity));
        line.AddText("id", finding.check->code);
        line.AddText("text", finding.text);
        line.AddText("instead", finding.instead);
        return std::move(line).Finish();
    }

    static std::string JsonOf(const MethodCalls& calls) {
        JsonLine line;
        AddPlace(line, *calls.method->script, calls.method->place);
        line.AddText("method", calls.name);
        line.Add("calls", calls.calls);
        return std::move(line).Finish();
    }

    const CheckOptions& m_options;
    const Format m_format;
    Progress m_progress;
    Output m_output;
    std::deque<ScriptText> m_scripts;
    std::vector<const ScriptText*> m_pointers;
    Findings m_findings;
    std::vector<MethodCalls> m_calls;
};

std::string JsonOf(const Check& check) {
    JsonLine line;
    line.AddText("id", check.code);
    line.AddText("severity", SeverityName(check.severity));
    line.AddText("brief", check.brief);
    line.AddText("details", check.details);
    return std::move(line).Finish();
}

int Explain(const std::string& code, Format format) {
    const Check* const check = FindCheck(code);
    if (check == nullptr && code != kAllChecks) {
        const std::string meant = MeantCode(code);
        throw Failure(kCannotStart, "--explain " + code + ": no check has that code" +
                                        (meant.empty() ? "; see docs/checks.md" : "; did you mean " + meant));
    }
    Output output;
    if (format == Format::Json) {
        for (const Check& row : AllChecks()) {
            if (check == nullptr || check->id == row.id) output.Line(JsonOf(row));
        }
        return kDone;
    }
    std::string text = check == nullptr ? ExplainAllChecks() : ExplainCheck(*check);
    text.pop_back();  // the line's end comes with the output
    output.Line(text);
    return kDone;
}

// For the completion of the shell.
int PrintEvents(const std::vector<std::string>& scripts) {
    const std::vector<std::string> events = JoinedScripts(scripts).Events();
    Output output;
    for (const std::string& event : std::set<std::string>(events.begin(), events.end())) output.Line(Printable(event));
    return kDone;
}

int PerformCheck(const CheckOptions& options, Format format) {
    if (!options.explain.empty()) return Explain(options.explain, format);
    if (options.scripts.empty()) throw Failure(kCannotStart, "no script is named; see qxlt check --help");
    if (options.events) return PrintEvents(options.scripts);
    return CheckRun(options, format).Perform();
}

}  // namespace

void AddCheck(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "check", "Find the mistakes in scenarios before they run", kExamples,
                   [options, &invocation] { return PerformCheck(*options, invocation.common.format); });
    command.add_option("SCRIPT", options->scripts, "The scenarios; several count as one")->option_text("...");
    command
        .add_option("--against", options->against,
                    "Compare with what was recorded: a capture, or a dump (once for each)")
        ->allow_extra_args(false)
        ->option_text("CAPTURE|DUMP");
    command.add_option("--explain", options->explain, "Tell what a check is about; \"all\" for every one")
        ->option_text("CODE");
    // In no group, and so in no help: it is for the completion of the shell, in qxlt.bash.
    command.add_flag("--events", options->events, "Print the names of the scripts' events")->group("");
}

}  // namespace qxlt
