#include "CommandList.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "ActOptions.h"
#include "HealthOptions.h"
#include "KeepOptions.h"
#include "LimitOptions.h"
#include "LiveRun.h"
#include "OptionFile.h"
#include "OutputOptions.h"
#include "RulesOptions.h"
#include "SecondsOption.h"
#include "ServicePart.h"
#include "ShowScript.h"
#include "ShowingOptions.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt run -s volume.xml\n"
    "  qxlt run -p media-server --call SetVolume --where 'in.0 > 80'\n"
    "  qxlt run -p media-server --call 'audio.Set*' --where 'ret < 0' --show-script > failed.xml\n"
    "  qxlt run -s volume.xml --event 'VOLUME_*' --columns time,value,thread --quiet\n"
    "  qxlt run -s volume.xml --pause fast --for 30s --explain\n"
    "  qxlt run -s volume.xml -p tuner --keep capture --until VOLUME_HIGH\n"
    "  qxlt run --config volume.conf --status-file volume.json --metrics-file /var/lib/node-exporter/volume.prom\n"
    "  qxlt run -s volume.xml --keep-on VOLUME_HIGH --before 20 --after 5 captures\n"
    "  qxlt run -s volume.xml --format json --output events.jsonl --rotate 10MB\n"
    "  qxlt run -s volume.xml --exec 'VOLUME_HIGH=logger -t volume \"$QX_EVENT_VALUE\"' --exec-limit 2s\n"
    "  qxlt run -s volume.xml --publish mqtts://broker.example/plant --credentials /etc/qxlt/broker\n"
    "  qxlt run -s /etc/qxlt/volume.xml --watch --format json\n";

std::string RequireName(const std::string& text) {
    return text.empty() ? "the process has no name" : "";
}

void AddPublishing(RunOptions& options, const Invocation& invocation) {
    if (!invocation.extensions.publish) BecomeFleetProgram("run --publish", invocation.arguments);
    options.parts.emplace_back([&options, &invocation](const RunSurroundings& surroundings) {
        return invocation.extensions.publish(options.publish, surroundings);
    });
}

int Run(RunOptions& options, const Invocation& invocation) {
    RequireScripts(options.scripts);
    if (options.scripts.showScript) return ShowScript(CallScript(options.scripts.calls), options.processes);
    if (options.publish.IsWanted()) AddPublishing(options, invocation);
    return LiveRun(options, invocation.common).Perform();
}

}  // namespace

void AddRun(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App& command = AddCommand(app, invocation, "run", "Track live processes and print events as they fire",
                                   kExamples, [options, &invocation] { return Run(*options, invocation); });
    AddScriptOptions(command, options->scripts).allow_extra_args(true);
    command.add_option("-p,--process", options->processes, "Watch this process, too")
        ->allow_extra_args(false)
        ->check(RequireName)
        ->option_text("NAME");
    AddChoice<bool>(command, "--pause", options->fast, {{"fast", true}, {"normal", false}},
                    "The pause after each dump: 10 ms, or 1 s (default)");
    AddSecondsOption(command, "--for", options->seconds, "End after this time (10s, 500ms, 2m, 1h), waiting included");
    AddEndOption(command, options->until);
    command.add_flag("--history", options->history, "Evaluate calls from before the start, too");
    AddLossOption(command, options->failOnLoss);
    AddRulesOptions(command, *options);
    AddTimeOption(command, options->show);
    AddEventOptions(command, options->show);
    AddFilterOptions(command, options->show);
    AddBoundOptions(command, options->show);
    AddQuietOption(command);
    AddHealthOptions(command, *options);
    AddServicePart(*options);
    AddConfigOption(command);
    AddKeepOptions(command, *options);
    AddOutputOptions(command, *options);
    AddLimitOptions(command, *options);
    AddActOptions(command, *options);
    AddPublishOptions(command, options->publish);
}

}  // namespace qxlt
