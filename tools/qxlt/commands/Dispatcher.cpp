#include "Dispatcher.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <sstream>

#include "CommandList.h"
#include "Messages.h"
#include "Output.h"

namespace qxlt {

namespace {

// A faulty command line: one line that says what is wrong, and where help is.
int ReportUsage(const CLI::ParseError& error, const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    const std::string command = chosen.empty() ? "qxlt" : "qxlt " + chosen.front()->get_name();
    PrintError(std::string(error.what()) + "; see " + command + " --help");
    return kCannotStart;
}

int PrintHelpOrVersion(const CLI::Success& asked, const CLI::App& app) {
    std::ostringstream text;
    const int status = app.exit(asked, text, text);
    std::string lines = text.str();
    lines.pop_back();  // the line's end comes with the output
    Output().Line(lines);
    return status;
}

// The parser itself would only say that some command is missing.
void RequireKnownCommand(const std::vector<std::string>& arguments, const CLI::App& app) {
    if (arguments.empty() || arguments.front().empty() || arguments.front().front() == '-') return;
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        if (command->get_name() == arguments.front()) return;
    }
    throw CLI::ParseError("no command \"" + arguments.front() + "\"", CLI::ExitCodes::InvalidError);
}

std::vector<std::string> Rewritten(const std::vector<std::string>& arguments, const Invocation& invocation) {
    if (arguments.empty()) return arguments;
    const auto rewriting = invocation.rewritings.find(arguments.front());
    return rewriting == invocation.rewritings.end() ? arguments : rewriting->second(arguments);
}

int Perform(const Invocation& invocation) {
    try {
        SetLevel(invocation.common.level);
        return invocation.work();
    } catch (const Failure& failure) {
        PrintError(failure.what());
        return failure.Status();
    } catch (const std::exception& error) {
        PrintError(error.what());
        return kCannotStart;
    }
}

}  // namespace

int RunTool(std::vector<std::string> arguments, const Extensions& extensions) {
    CLI::App app("See what a program records, and write, run and test scenarios that watch it.", "qxlt");
    app.set_version_flag("--version", "qxlt " QXLT_VERSION);
    app.require_subcommand(1);
    Invocation invocation;
    invocation.extensions = extensions;
    invocation.arguments = arguments;
    for (const AddFunction add : AllCommands()) add(app, invocation);
    try {
        RequireKnownCommand(arguments, app);
        arguments = Rewritten(arguments, invocation);
        // The parser takes its arguments from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::Success& asked) {
        return PrintHelpOrVersion(asked, app);
    } catch (const CLI::ParseError& error) {
        return ReportUsage(error, app);
    }
    return Perform(invocation);
}

}  // namespace qxlt
