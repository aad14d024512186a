#include "RunCommand.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <memory>

#include "LiveRun.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt run -s volume.xml\n"
    "  qxlt run -s volume.xml --pause fast --for 30 --explain\n"
    "  qxlt run -s volume.xml -p tuner --keep capture --until VOLUME_HIGH\n";

// A number that is none passes any comparison that it fails.
std::string RequireTime(const std::string& text) {
    return std::strtod(text.c_str(), nullptr) > 0 ? std::string() : text + " is no number of seconds above 0";
}

}  // namespace

void AddRun(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "run", "Track live processes and print events as they fire", kExamples,
                   [options, &invocation] { return LiveRun(*options, invocation.common).Perform(); });
    AddScriptOptions(command, options->scripts).allow_extra_args(true);
    command.add_option("-p,--process", options->processes, "Watch this process, too")
        ->allow_extra_args(false)
        ->option_text("NAME");
    AddChoice<bool>(command, "--pause", options->fast, {{"fast", true}, {"normal", false}},
                    "The pause after each dump: 10 ms, or 1 s (default)");
    command.add_option("--for", options->seconds, "End after this time, waiting included")
        ->check(RequireTime)
        ->option_text("SECONDS");
    command.add_option("--until", options->until, "End when this event fires")->option_text("EVENT");
    AddLossOption(command, options->failOnLoss);
    command.add_option("--keep", options->keep, "Keep the dumps, to be replayed")->option_text("DIR");
}

}  // namespace qxlt
