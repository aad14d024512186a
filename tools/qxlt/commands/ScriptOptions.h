// The options that commands which run scripts have in common.
#pragma once

#include <string>
#include <vector>

#include "CallScript.h"
#include "CliFwd.h"
#include "Explainer.h"

namespace qxlt {

struct ScriptOptions {
    std::vector<std::string> scripts;
    CallChoice calls;         // besides them
    std::string explain;      // empty: nothing is explained
    bool showScript = false;  // what the calls stand for is printed, and nothing is run
};

// Adds -s, --call, --where, --show-script and --explain, and returns -s. `options` must live as long as the command.
CLI::Option& AddScriptOptions(CLI::App& command, ScriptOptions& options);

// Throws a Failure (cannot start) when neither scenarios nor calls are asked for, and when there are no calls whose
// script could be shown.
void RequireScripts(const ScriptOptions& options);

// Adds --on-loss. `fails` must live as long as the command.
void AddLossOption(CLI::App& command, bool& fails);

// Adds --until. `event` must live as long as the command.
void AddEndOption(CLI::App& command, std::string& event);

// Throws a Failure (cannot start) when the event that is to end the run is none of `events`; empty: there is none.
void RequireKnownEnd(const std::string& event, const std::vector<std::string>& events);

// Throws a Failure (cannot start) when a name that `option` was given is none of `events`; patterns of the shell are
// taken as they are.
void RequireKnownPattern(const std::string& option, const std::string& pattern, const std::vector<std::string>& events);

// Scripts that follow a -s without one of their own get it: names that end in ".xml" are scripts, so that what comes
// after them may be files of another kind.
std::vector<std::string> ExpandScripts(const std::vector<std::string>& arguments);

// What --explain asks for. Throws a Failure (cannot start) when the event that it names is none of `events`.
ExplainOptions ExplainOf(const ScriptOptions& options, const std::vector<std::string>& events);

}  // namespace qxlt
