#include "ScriptOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "Command.h"
#include "Failure.h"
#include "Nearest.h"

namespace qxlt {

namespace {

// What the parser gives for a flag without a value.
constexpr char kNoValue[] = "true";

bool IsScriptName(const std::string& argument) {
    const std::string ending = ".xml";
    return argument.size() > ending.size() && argument.front() != '-' &&
           argument.compare(argument.size() - ending.size(), ending.size(), ending) == 0;
}

bool IsScriptOption(const std::string& argument) {
    return argument == "-s" || argument == "--script";
}

// `option` is what was asked for, as it was written.
void RequireEvent(const std::string& option, const std::string& event, const std::vector<std::string>& events) {
    if (std::find(events.begin(), events.end(), event) != events.end()) return;
    const std::string near = Suggestion(event, events);
    throw Failure(kCannotStart,
                  option + ": the scripts have no event of that name" + (near.empty() ? "" : "; did you mean " + near));
}

}  // namespace

CLI::Option& AddScriptOptions(CLI::App& command, ScriptOptions& options) {
    command.add_flag("--explain", options.explain, "Tell why events fired or not; of one event, call by call")
        ->option_text("[=EVENT]");
    command.add_option("--call", options.calls.calls, "Without a scenario: an event for each call of such a method")
        ->allow_extra_args(false)
        ->option_text("METHOD|GLOB");
    command.add_option("--where", options.calls.wheres, "Of these calls: an event for each that fulfils a condition")
        ->allow_extra_args(false)
        ->option_text("'in.0 > 80'");
    command.add_flag("--show-script", options.showScript, "Print the scenario that --call stands for, and end");
    return *command.add_option("-s,--script", options.scripts, "The scenarios; several count as one")
                ->allow_extra_args(false)
                ->option_text("SCRIPT...");
}

void RequireScripts(const ScriptOptions& options) {
    if (options.showScript && options.calls.calls.empty()) {
        throw Failure(kCannotStart, "--show-script shows what --call stands for; add --call METHOD");
    }
    if (options.scripts.empty() && options.calls.calls.empty() && options.calls.wheres.empty()) {
        throw Failure(kCannotStart, "--script is required, or else --call METHOD");
    }
}

void AddLossOption(CLI::App& command, bool& fails) {
    AddChoice<bool>(command, "--on-loss", fails, {{"tell", false}, {"fail", true}},
                    "Tell of what is lost (default), or end with status 1, too");
}

void AddEndOption(CLI::App& command, std::string& event) {
    command.add_option("--until", event, "End when this event fires")->option_text("EVENT");
}

ExplainOptions ExplainOf(const ScriptOptions& options, const std::vector<std::string>& events) {
    if (options.explain.empty()) return {};
    if (options.explain == kNoValue) return {true, ""};
    RequireEvent("--explain=" + options.explain, options.explain, events);
    return {true, options.explain};
}

void RequireKnownEnd(const std::string& event, const std::vector<std::string>& events) {
    if (!event.empty()) RequireEvent("--until " + event, event, events);
}

void RequireKnownPattern(const std::string& option, const std::string& pattern,
                         const std::vector<std::string>& events) {
    if (pattern.find_first_of("*?[") == std::string::npos) RequireEvent(option + " " + pattern, pattern, events);
}

std::vector<std::string> ExpandScripts(const std::vector<std::string>& arguments) {
    std::vector<std::string> expanded;
    bool inScripts = false;  // behind a -s and its first script
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (IsScriptOption(argument) && i + 1 < arguments.size()) {
            expanded.insert(expanded.end(), {argument, arguments[++i]});
            inScripts = true;
            continue;
        }
        inScripts = inScripts && IsScriptName(argument);
        if (inScripts) expanded.emplace_back("-s");
        expanded.push_back(argument);
    }
    return expanded;
}

}  // namespace qxlt
