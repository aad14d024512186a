#include "CommandList.h"
#include "Messages.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <deque>
#include <memory>

#include "CheckRecorded.h"
#include "Checks.h"
#include "Json.h"
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
};

class CheckRun final {
public:
    CheckRun(const CheckOptions& options, Format format)
        : m_options(options), m_format(format), m_output(&m_progress) {}

    int Perform() {
        for (const std::string& file : m_options.scripts) m_pointers.push_back(&m_scripts.emplace_back(file));
        const ScenarioOutline outline(m_pointers);
        for (const auto check : {CheckMarkup, CheckElements, CheckActions, CheckEvents, CheckFilters, CheckConditions,
                                 CheckSharing, CheckProcesses, CheckTypes, CheckLists}) {
            check(outline, m_findings);
        }
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
        const bool failed = std::any_of(findings.begin(), findings.end(), [](const Finding& finding) {
            return finding.check->severity == Severity::Error;
        });
        if (failed) m_output.Failed();
        for (const Finding& finding : findings) {
            m_output.Line(m_format == Format::Json ? JsonLine(finding) : TextLine(finding));
        }
        for (const MethodCalls& calls : m_calls) {
            m_output.Line(m_format == Format::Json ? JsonLine(calls) : TextLine(calls));
        }
        return failed;
    }

    static std::string PlaceText(const ScriptText& script, TextPlace place) {
        return Place(Printable(script.File()), place.line, place.column) + ": ";
    }

    std::string TextLine(const Finding& finding) const {
        const Colors& paint = m_output.Paint();
        const std::string severity = std::string(SeverityName(finding.check->severity)) + ":";
        return paint.Bold(PlaceText(*finding.script, finding.place)) +
               (finding.check->severity == Severity::Error ? paint.Red(severity) : paint.Yellow(severity)) + " " +
               finding.text + (finding.instead.empty() ? "" : "; did you mean " + Printable(finding.instead)) +
               paint.Dim(std::string(" [") + finding.check->code + "]");
    }

    std::string TextLine(const MethodCalls& calls) const {
        return PlaceText(*calls.method->script, calls.method->place) + "note: " + Counted(calls.calls, "call") +
               " of " + Printable(calls.name) + " recorded";
    }

    static JsonObject PlaceJson(const ScriptText& script, TextPlace place) {
        JsonObject line = JsonObject::object();
        AddText(line, "file", script.File());
        line["line"] = place.line;
        line["column"] = place.column;
        return line;
    }

    static std::string JsonLine(const Finding& finding) {
        JsonObject line = PlaceJson(*finding.script, finding.place);
        line["severity"] = SeverityName(finding.check->severity);
        line["id"] = finding.check->code;
        AddText(line, "text", finding.text);
        AddText(line, "instead", finding.instead);
        return line.dump();
    }

    static std::string JsonLine(const MethodCalls& calls) {
        JsonObject line = PlaceJson(*calls.method->script, calls.method->place);
        AddText(line, "method", calls.name);
        line["calls"] = calls.calls;
        return line.dump();
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

std::string JsonLine(const Check& check) {
    JsonObject line = {{"id", check.code}, {"severity", SeverityName(check.severity)}};
    line["brief"] = check.brief;
    line["details"] = check.details;
    return line.dump();
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
            if (check == nullptr || check->id == row.id) output.Line(JsonLine(row));
        }
        return kDone;
    }
    std::string text = check == nullptr ? ExplainAllChecks() : ExplainCheck(*check);
    text.pop_back();  // the line's end comes with the output
    output.Line(text);
    return kDone;
}

int PerformCheck(const CheckOptions& options, Format format) {
    if (!options.explain.empty()) return Explain(options.explain, format);
    if (options.scripts.empty()) throw Failure(kCannotStart, "no script is named; see qxlt check --help");
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
}

}  // namespace qxlt
