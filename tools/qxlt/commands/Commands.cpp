#include "Commands.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <sstream>
#include <utility>

#include "CheckCommand.h"
#include "CleanCommand.h"
#include "DecodeCommand.h"
#include "ListCommand.h"
#include "Output.h"
#include "ReplayCommand.h"
#include "RunCommand.h"
#include "ScriptOptions.h"
#include "TestCommand.h"

namespace qxlt {

namespace {

using AddFunction = void (*)(CLI::App&, Invocation&);

// In the order in which the help shows them.
const std::vector<AddFunction> kCommands = {AddRun, AddReplay, AddDecode, AddList, AddClean, AddCheck, AddTest};

const std::vector<std::pair<std::string, Format>> kFormats = {{"text", Format::Text}, {"json", Format::Json}};

const std::vector<std::pair<std::string, EDebugLevel>> kLevels = {
    {"silent", Silent}, {"fatal", Fatal}, {"major", Major}, {"warning", Warning}, {"debug", Debug}, {"info", Info}};

// A faulty command line: one line that says what is wrong, and where help is.
int ReportUsage(const CLI::ParseError& error, const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    const std::string command = chosen.empty() ? "qxlt" : "qxlt " + chosen.front()->get_name();
    PrintError(std::string(error.what()) + "; see " + command + " --help");
    return kCannotStart;
}

// The help or the version.
int PrintWish(const CLI::Success& wish, const CLI::App& app) {
    std::ostringstream text;
    const int status = app.exit(wish, text, text);
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

CLI::App& AddCommand(CLI::App& app, Invocation& invocation, const std::string& name, const std::string& description,
                     const std::string& examples, std::function<int()> work) {
    CLI::App& command = *app.add_subcommand(name, description);
    command.footer("\nExamples:\n" + examples);
    AddChoice(command, "--format", invocation.common.format, kFormats, "How results are printed");
    AddChoice(command, "--level", invocation.common.level, kLevels, "Diagnostics on standard error");
    command.callback([&invocation, work = std::move(work)] { invocation.work = work; });
    return command;
}

int RunTool(std::vector<std::string> arguments) {
    CLI::App app("See what a program records, and write, run and test scenarios that watch it.", "qxlt");
    app.set_version_flag("--version", "qxlt " QXLT_VERSION);
    app.require_subcommand(1);
    Invocation invocation;
    for (const AddFunction add : kCommands) add(app, invocation);
    try {
        RequireKnownCommand(arguments, app);
        if (!arguments.empty() && arguments.front() == "replay") arguments = ExpandScripts(arguments);
        // The parser takes its arguments from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::Success& wish) {
        return PrintWish(wish, app);
    } catch (const CLI::ParseError& error) {
        return ReportUsage(error, app);
    }
    return Perform(invocation);
}

}  // namespace qxlt
