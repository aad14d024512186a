#include <CLI/CLI.hpp>
#include <memory>

#include "CaptureShow.h"
#include "CommandList.h"
#include "Messages.h"
#include "MethodOptions.h"
#include "MethodPrinter.h"
#include "MethodReport.h"
#include "ShowingOptions.h"
#include "ShownOptions.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt report capture\n"
    "  qxlt report capture --sort greatest --error '-*' --error 'no result'\n"
    "  qxlt report capture --method 'audio.*' --since 10s --until-time 20s --format json\n";

struct ReportOptions {
    ShownCapture capture;
    StatisticsChoice statistics;
    MethodOrder order;
    ShowOptions show;
};

int Report(const ReportOptions& options, Format format) {
    RequireShown(options.capture, "report");
    Progress progress;
    Output output(&progress);
    StatisticsChoice statistics = options.statistics;
    statistics.values = true;
    MethodReport report(format, output, options.show.filter, statistics);
    const auto tell = [&output](const Fault& fault) {
        PrintFault(fault);
        if (!fault.isHarmless) output.Failed();
    };
    const bool whole = CaptureShow(options.capture)
                           .Run(
                               report, [](const EventView&) {}, tell, progress);
    MethodPrinter(format, output, options.order, {true, !statistics.errors.empty()}).PrintWhole(report.Take());
    if (format == Format::Text) {
        report.PrintLoss();
        PrintNote(Counted(report.Calls(), "call"));
    }
    PrintLeftOut(report.History());
    return whole ? kDone : kInputWrong;
}

}  // namespace

void AddReport(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<ReportOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "report", "Tell of a capture what top tells, and which values calls had", kExamples,
                   [options, &invocation] { return Report(*options, invocation.common.format); });
    AddShownOptions(command, options->capture);
    AddMethodOptions(command, options->statistics, options->order);
    AddFilterOptions(command, options->show);
    AddBoundOptions(command, options->show);
    AddQuietOption(command);
}

}  // namespace qxlt
