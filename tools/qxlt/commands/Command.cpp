#include "Command.h"

#include <CLI/CLI.hpp>

namespace qxlt {

namespace {

const std::vector<std::pair<std::string, Format>> kFormats = {{"text", Format::Text}, {"json", Format::Json}};

const std::vector<std::pair<std::string, EDebugLevel>> kLevels = {
    {"silent", Silent}, {"fatal", Fatal}, {"major", Major}, {"warning", Warning}, {"debug", Debug}, {"info", Info}};

CLI::App& Complete(CLI::App& command, Invocation& invocation, const std::string& examples, std::function<int()> work) {
    command.footer("\nExamples:\n" + examples);
    AddChoice(command, "--level", invocation.common.level, kLevels, "Diagnostics on standard error");
    command.callback([&invocation, work = std::move(work)] { invocation.work = work; });
    return command;
}

}  // namespace

CLI::App& AddCommand(CLI::App& app, Invocation& invocation, const std::string& name, const std::string& description,
                     const std::string& examples, std::function<int()> work) {
    CLI::App& command = *app.add_subcommand(name, description);
    AddChoice(command, "--format", invocation.common.format, kFormats, "How results are printed");
    return Complete(command, invocation, examples, std::move(work));
}

CLI::App& AddPlainCommand(CLI::App& app, Invocation& invocation, const std::string& name,
                          const std::string& description, const std::string& examples, std::function<int()> work) {
    return Complete(*app.add_subcommand(name, description), invocation, examples, std::move(work));
}

}  // namespace qxlt
