#include <CLI/CLI.hpp>
#include <memory>

#include "CaptureShow.h"
#include "CommandList.h"
#include "LiveRun.h"
#include "Messages.h"
#include "NestedRun.h"
#include "SecondsOption.h"
#include "ShowingOptions.h"
#include "ShownOptions.h"
#include "Text.h"
#include "TimeText.h"
#include "TraceTree.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt trace -p media-server --for 10s\n"
    "  qxlt trace capture --method 'audio.*' --longer-than 2ms\n"
    "  qxlt trace capture -p media-server --thread mixer --depth 2 --format json\n";

struct TraceOptions {
    TraceChoice choice;
    ShowOptions show;
    ShownCapture capture;
    RunOptions run;
};

std::uint64_t NanosecondsOf(const std::string& text) {
    constexpr double kMost = 1e18;  // none lasts longer
    return static_cast<std::uint64_t>(std::min(ReadSeconds(text).value_or(0) * 1e9, kMost));
}

bool IsLive(const TraceOptions& options) {
    return options.capture.directory.empty() && options.capture.recording.empty();
}

void RequireInput(const TraceOptions& options) {
    if (!IsLive(options) || !options.run.processes.empty()) return;
    throw Failure(
        kCannotStart,
        "name a capture, a recording with --recording, or else live processes with -p; see qxlt trace --help");
}

int TraceLive(TraceOptions& options, const CommonOptions& common, NestedRun& run) {
    options.run.history = options.capture.history;
    options.run.watcher = &run;
    const int status = LiveRun(options.run, common).Perform();
    run.Finish();
    return status;
}

int TraceCapture(const TraceOptions& options, NestedRun& run, Output& output, Progress& progress) {
    const auto tell = [&output](const Fault& fault) {
        PrintFault(fault);
        if (!fault.isHarmless) output.Failed();
    };
    const bool whole = CaptureShow(options.capture)
                           .Run(
                               run, [](const EventView&) {}, tell, progress);
    run.Finish();
    PrintLeftOut(run.History());
    return whole ? kDone : kInputWrong;
}

int Trace(TraceOptions& options, const CommonOptions& common) {
    RequireInput(options);
    const bool isLive = IsLive(options);
    options.choice.isLive = isLive;
    options.choice.filter = options.show.filter;
    for (const std::string& name : isLive ? std::vector<std::string>() : options.run.processes) {
        options.choice.filter.processes.push_back(name);
    }
    Progress progress;
    Output output(&progress);
    TraceTree tree(common.format, output, options.choice);
    NestedRun run(tree);
    const int status = isLive ? TraceLive(options, common, run) : TraceCapture(options, run, output, progress);
    if (common.format == Format::Text) PrintNote(Counted(tree.Calls(), "call"));
    return status;
}

void AddLongerOption(CLI::App& command, TraceChoice& choice) {
    command
        .add_option_function<std::string>(
            "--longer-than", [&choice](const std::string& text) { choice.longerThan = NanosecondsOf(text); },
            "Calls that took longer only (20us, 5ms, 1s)")
        ->check(RequireLength)
        ->option_text("TIME");
}

void AddLiveOptions(CLI::App& command, RunOptions& run) {
    command.add_option("-p,--process", run.processes, "Track this live process; of a capture, show those of that name")
        ->allow_extra_args(false)
        ->option_text("NAME|GLOB");
    AddChoice<bool>(command, "--pause", run.fast, {{"fast", true}, {"normal", false}},
                    "Live: the pause after each dump, 10 ms, or 1 s (default)");
    AddSecondsOption(command, "--for", run.seconds, "Live: end after this time, waiting included");
}

}  // namespace

void AddTrace(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<TraceOptions>();
    CLI::App& command = AddCommand(app, invocation, "trace", "Print the calls of each thread as they nest", kExamples,
                                   [options, &invocation] { return Trace(*options, invocation.common); });
    AddShownOptions(command, options->capture);
    AddLiveOptions(command, options->run);
    AddFilterOptions(command, options->show);
    AddBoundOptions(command, options->show);
    AddLongerOption(command, options->choice);
    command.add_option("--depth", options->choice.depth, "Leave out calls that are in this many others")
        ->check(CLI::PositiveNumber)
        ->option_text("N");
}

}  // namespace qxlt
