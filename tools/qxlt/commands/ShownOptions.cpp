#include "ShownOptions.h"

#include <CLI/CLI.hpp>

#include "Failure.h"

namespace qxlt {

void AddShownOptions(CLI::App& command, ShownCapture& shown) {
    CLI::Option& capture = *command.add_option("CAPTURE", shown.directory, "What run --keep wrote");
    command.add_option("--recording", shown.recording, "A recording, of a living process or an ended one")
        ->excludes(&capture)
        ->option_text("NAME[PID]|FILE");
    command.add_flag("--history", shown.history, "With the calls from before the start of the run");
}

void RequireShown(const ShownCapture& shown, const std::string& command) {
    if (!shown.directory.empty() || !shown.recording.empty()) return;
    throw Failure(kCannotStart, "CAPTURE is required, or else --recording; see qxlt " + command + " --help");
}

}  // namespace qxlt
