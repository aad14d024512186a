// What a command of the tool is made of. Its options are described with AddCommand, in a file of its own; CommandList.h
// says how a command is added.
#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "CommonOptions.h"
#include "Extensions.h"
#include "Failure.h"

namespace qxlt {

// What the command line asks for, and what commands ask of it.
struct Invocation {
    using Rewriting = std::function<std::vector<std::string>(const std::vector<std::string>& arguments)>;

    CommonOptions common;
    Extensions extensions;                        // what this program does beyond qxlt
    std::vector<std::string> arguments;           // all of them, as they were given
    std::function<int()> work;                    // set by the command that was chosen; returns the exit status
    std::map<std::string, Rewriting> rewritings;  // by a command's name: of all arguments, before they are parsed
};

// Adds a subcommand with the options that all commands take. `examples` stands at the end of its help. `work` is called
// after the command line was read, if this command was chosen. The result belongs to `app`.
CLI::App& AddCommand(CLI::App& app, Invocation& invocation, const std::string& name, const std::string& description,
                     const std::string& examples, std::function<int()> work);

// The same for one whose results have formats of their own: without --format.
CLI::App& AddPlainCommand(CLI::App& app, Invocation& invocation, const std::string& name,
                          const std::string& description, const std::string& examples, std::function<int()> work);

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
