#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "CaptureShow.h"
#include "ChromeTrace.h"
#include "CommandList.h"
#include "CtfTrace.h"
#include "Messages.h"
#include "NestedRun.h"
#include "Output.h"
#include "ResultFile.h"
#include "ScriptOptions.h"
#include "ShownOptions.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt export --format chrome capture > trace.json\n"
    "  qxlt export --format chrome capture -s volume.xml -o trace.json\n"
    "  qxlt export --format ctf capture -o trace && babeltrace2 trace\n";

enum class ExportFormat { Chrome, Ctf };

struct ExportOptions {
    ExportFormat format = ExportFormat::Chrome;
    ShownCapture capture;
    std::string output;
};

// Where a text goes: to standard output, or to the file.
class TextTarget final {
public:
    TextTarget(const std::string& path, Progress& progress) : m_output(&progress) {
        if (!path.empty()) m_file.emplace(path, "export");
    }
    void Line(const std::string& text) { m_file ? m_file->Line(text) : m_output.Line(text); }
    void Close() {
        if (m_file) m_file->Close();
    }
    Output& Standard() { return m_output; }

private:
    Output m_output;
    std::optional<ResultFile> m_file;
};

// Shows the capture to the writer. Returns whether nothing was wrong in it.
bool Show(const CaptureShow& capture, INestedWriter& writer, Progress& progress, const FaultSink& tell) {
    NestedRun run(writer);
    const bool whole = capture.Run(
        run, [&run](const EventView& event) { run.OnEvent(event); }, tell, progress);
    run.Finish();
    PrintLeftOut(run.History());
    return whole;
}

bool ExportChrome(const CaptureShow& capture, const std::string& path, Progress& progress) {
    TextTarget target(path, progress);
    ChromeTrace trace([&target](const std::string& line) { target.Line(line); });
    const bool whole = Show(capture, trace, progress, [&target](const Fault& fault) {
        PrintFault(fault);
        if (!fault.isHarmless) target.Standard().Failed();
    });
    trace.Finish();
    target.Close();
    return whole;
}

bool ExportCtf(const CaptureShow& capture, const std::string& path, Progress& progress) {
    if (path.empty()) throw Failure(kCannotStart, "a CTF trace is a directory; name a new one with -o");
    CtfTrace trace(path, capture.Start().clock);
    const bool whole = Show(capture, trace, progress, PrintFault);
    trace.Finish();
    if (trace.Unfit() > 0) {
        PrintWarning(Counted(trace.Unfit(), "item") + " beyond the times that the format has; left out");
    }
    return whole;
}

int Export(const ExportOptions& options) {
    RequireShown(options.capture, "export");
    const CaptureShow capture(options.capture);
    Progress progress;
    const bool whole = options.format == ExportFormat::Ctf ? ExportCtf(capture, options.output, progress)
                                                           : ExportChrome(capture, options.output, progress);
    return whole ? kDone : kInputWrong;
}

}  // namespace

void AddExport(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<ExportOptions>();
    CLI::App& command = AddPlainCommand(app, invocation, "export", "Write a capture for viewers of other traces",
                                        kExamples, [options] { return Export(*options); });
    invocation.rewritings[command.get_name()] = ExpandScripts;
    AddChoice<ExportFormat>(command, "--format", options->format,
                            {{"chrome", ExportFormat::Chrome}, {"ctf", ExportFormat::Ctf}},
                            "Chrome's trace events in JSON, or the Common Trace Format")
        .required();
    AddShownOptions(command, options->capture);
    command.add_option("-o,--output", options->output, "The file; of CTF the directory")->option_text("FILE|DIR");
    command.add_option("-s,--script", options->capture.scripts, "Scenarios, whose events become marks")
        ->allow_extra_args(false)
        ->option_text("SCRIPT...");
}

}  // namespace qxlt
