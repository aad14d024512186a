#include <CLI/CLI.hpp>
#include <memory>

#include "CommandList.h"
#include "LiveRun.h"
#include "MethodOptions.h"
#include "MethodTop.h"
#include "ScreenDisplay.h"
#include "SecondsOption.h"
#include "ShowingOptions.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt top -p media-server\n"
    "  qxlt top -p media-server -p tuner --method 'audio.*' --sort p99 --error '-*'\n"
    "  qxlt top -p media-server --once --every 10s\n"
    "  qxlt top -p media-server --for 1m --format json\n";

struct TopOptions {
    TopChoice choice;
    MethodOrder order;
    ShowOptions show;
    RunOptions run;
};

// The run goes first: what it shows its calls to has to be there for as long.
int Top(TopOptions& options, const CommonOptions& common) {
    options.choice.filter = options.show.filter;
    const MethodColumns columns{false, !options.choice.statistics.errors.empty()};
    LiveRun* live = nullptr;
    const auto end = [&live] { live->End(); };
    Output output;
    MethodPrinter printer(common.format, output, options.order, columns);
    ScreenDisplay screen(MethodPage(options.order, columns), printer, end);
    const bool isPlain = common.format == Format::Json || options.choice.once;
    MethodTop top(options.choice, isPlain ? static_cast<IMethodDisplay&>(printer) : screen, end);
    options.run.watcher = &top;
    options.run.tellHistory = false;
    LiveRun run(options.run, common);
    live = &run;
    const int status = run.Perform();
    top.Finish();
    return status;
}

}  // namespace

void AddTop(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<TopOptions>();
    CLI::App& command = AddCommand(app, invocation, "top", "Show how often methods are called, and how long they take",
                                   kExamples, [options, &invocation] { return Top(*options, invocation.common); });
    command.add_option("-p,--process", options->run.processes, "Track this process")
        ->required()
        ->allow_extra_args(false)
        ->option_text("NAME");
    AddSecondsOption(command, "--every", options->choice.seconds,
                     "How often, at most (default: 1s); it ends with a cycle");
    AddSecondsOption(command, "--for", options->run.seconds, "End after this time, waiting included");
    command.add_flag("--once", options->choice.once, "End with the first table");
    AddMethodOptions(command, options->choice.statistics, options->order);
    AddFilterOptions(command, options->show);
    AddBoundOptions(command, options->show);
    AddChoice<bool>(command, "--pause", options->run.fast, {{"fast", true}, {"normal", false}},
                    "The pause after each dump: 10 ms, or 1 s (default)");
    AddQuietOption(command);
}

}  // namespace qxlt
