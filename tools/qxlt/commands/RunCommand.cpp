#include "CommandList.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "HealthOptions.h"
#include "KeptDumps.h"
#include "LiveRun.h"
#include "OptionFile.h"
#include "ServicePart.h"
#include "ShowScript.h"
#include "ShowingOptions.h"
#include "TimeText.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt run -s volume.xml\n"
    "  qxlt run -p media-server --call SetVolume --where 'in.0 > 80'\n"
    "  qxlt run -p media-server --call 'audio.Set*' --where 'ret < 0' --show-script > failed.xml\n"
    "  qxlt run -s volume.xml --event 'VOLUME_*' --columns time,value,thread --quiet\n"
    "  qxlt run -s volume.xml --pause fast --for 30s --explain\n"
    "  qxlt run -s volume.xml -p tuner --keep capture --until VOLUME_HIGH\n"
    "  qxlt run --config volume.conf --status-file volume.json --metrics-file /var/lib/node-exporter/volume.prom\n";

std::string RequireName(const std::string& text) {
    return text.empty() ? "the process has no name" : "";
}

int Run(const RunOptions& options, const CommonOptions& common) {
    RequireScripts(options.scripts);
    if (!options.scripts.showScript) return LiveRun(options, common).Perform();
    return ShowScript(CallScript(options.scripts.calls), options.processes);
}

}  // namespace

void AddRun(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App& command = AddCommand(app, invocation, "run", "Track live processes and print events as they fire",
                                   kExamples, [options, &invocation] { return Run(*options, invocation.common); });
    AddScriptOptions(command, options->scripts).allow_extra_args(true);
    command.add_option("-p,--process", options->processes, "Watch this process, too")
        ->allow_extra_args(false)
        ->check(RequireName)
        ->option_text("NAME");
    AddChoice<bool>(command, "--pause", options->fast, {{"fast", true}, {"normal", false}},
                    "The pause after each dump: 10 ms, or 1 s (default)");
    command
        .add_option_function<std::string>(
            "--for", [options](const std::string& text) { options->seconds = ReadSeconds(text).value_or(0); },
            "End after this time (10s, 500ms, 2m, 1h), waiting included")
        ->check(RequireLength)
        ->option_text("TIME");
    AddEndOption(command, options->until);
    command.add_flag("--history", options->history, "Evaluate calls from before the start, too");
    AddLossOption(command, options->failOnLoss);
    AddTimeOption(command, options->show);
    AddEventOptions(command, options->show);
    AddFilterOptions(command, options->show);
    AddBoundOptions(command, options->show);
    AddQuietOption(command);
    AddHealthOptions(command, *options);
    AddServicePart(*options);
    AddConfigOption(command);
    command
        .add_option_function<std::string>(
            "--keep",
            [options](const std::string& directory) {
                if (directory.empty()) return;
                options->parts.emplace_back(
                    [directory](const RunSurroundings&) { return std::make_unique<KeptDumps>(directory); });
            },
            "Keep the dumps, to be replayed")
        ->option_text("DIR");
}

}  // namespace qxlt
