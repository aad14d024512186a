#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "CaptureShow.h"
#include "CommandList.h"
#include "FiringReasons.h"
#include "Messages.h"
#include "NestedRun.h"
#include "PageData.h"
#include "PageTemplate.h"
#include "ResultFile.h"
#include "ScriptOptions.h"
#include "ShownOptions.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt view capture -o page.html\n"
    "  qxlt view capture -s volume.xml tuner.xml -o page.html && xdg-open page.html\n";

struct ViewOptions {
    ShownCapture capture;
    std::string output;
};

// The page without the run: what stands before it, and behind.
struct PageParts {
    std::string_view before;
    std::string_view behind;
};

PageParts ReadTemplate() {
    const std::string_view page = PageTemplate();
    const std::size_t place = page.find(kRunPlace);
    if (place == std::string_view::npos) {
        throw Failure(kCannotStart,
                      "this qxlt was built without the page; build it with -D QX_BUILD_VIEW=ON, which needs "
                      "node and what npm ci --prefix tools/qxlt/page installs");
    }
    return {page.substr(0, place), page.substr(place + kRunPlace.size())};
}

// The name of the directory that was named, also as "." and "capture/"; or of the recording.
std::string NameOf(const ShownCapture& capture) {
    if (capture.directory.empty()) return std::filesystem::path(capture.recording).filename().string();
    const std::filesystem::path path = std::filesystem::absolute(capture.directory).lexically_normal();
    return (path.has_filename() ? path : path.parent_path()).filename().string();
}

int View(const ViewOptions& options) {
    RequireShown(options.capture, "view");
    const PageParts page = ReadTemplate();
    FiringReasons reasons;
    CaptureShow capture(options.capture);
    capture.SetReasons(reasons);
    ResultFile file(options.output, "view");
    file.Write(page.before);
    PageData data([&file](const std::string& line) { file.Line(line); }, NameOf(options.capture), capture.Start(),
                  reasons);
    NestedRun run(data);
    Progress progress;
    const bool whole = capture.Run(
        run, [&run](const EventView& event) { run.OnEvent(event); }, PrintFault, progress);
    run.Finish();
    data.Finish();
    file.Write(page.behind);
    file.Close();
    progress.Wipe();
    PrintLeftOut(run.History());
    return whole ? kDone : kInputWrong;
}

}  // namespace

void AddView(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<ViewOptions>();
    CLI::App& command = AddPlainCommand(app, invocation, "view", "Draw a capture: a page for the browser", kExamples,
                                        [options] { return View(*options); });
    invocation.rewritings[command.get_name()] = ExpandScripts;
    AddShownOptions(command, options->capture);
    command.add_option("-o,--output", options->output, "The page; it needs no other file")
        ->required()
        ->option_text("FILE");
    command.add_option("-s,--script", options->capture.scripts, "Scenarios, whose events become marks")
        ->allow_extra_args(false)
        ->option_text("SCRIPT...");
}

}  // namespace qxlt
