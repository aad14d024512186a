// The tool's commands. To add one: write `AddXxx` in a file pair of its own, which describes the options with
// AddCommand and sets the invocation's work, declare it here, and add it to the table in Commands.cpp.
#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Common.h"

namespace qxlt {

// What the command line asks for.
struct Invocation {
    CommonOptions common;
    std::function<int()> work;  // set by the command that was chosen; returns the exit status
};

// Runs the tool with the arguments that follow its name; returns the exit status. Nothing is thrown.
int RunTool(std::vector<std::string> arguments);

// Adds a subcommand with the options that all commands take. `examples` stands at the end of its help. `work` is called
// after the command line was read, if this command was chosen. The result belongs to `app`.
CLI::App& AddCommand(CLI::App& app, Invocation& invocation, const std::string& name, const std::string& description,
                     const std::string& examples, std::function<int()> work);

// Adds an option that takes one of the named values.
template <typename Value>
CLI::Option& AddChoice(CLI::App& command, const std::string& option, Value& value,
                       const std::vector<std::pair<std::string, Value>>& choices, const std::string& description) {
    std::string names;
    for (const auto& choice : choices) names += (names.empty() ? "" : "|") + choice.first;
    const auto read = [&value, choices, names](const std::string& text) {
        for (const auto& choice : choices) {
            if (choice.first != text) continue;
            value = choice.second;
            return;
        }
        throw CLI::ValidationError("\"" + text + "\" is none of " + names);
    };
    return *command.add_option_function<std::string>(option, read, description)->option_text(names);
}

}  // namespace qxlt
