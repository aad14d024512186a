// The options of commands that show what was recorded: a capture, or a recording.
#pragma once

#include <string>

#include "CaptureShow.h"
#include "CliFwd.h"

namespace qxlt {

// `shown` must outlive the command.
void AddShownOptions(CLI::App& command, ShownCapture& shown);

// Throws a Failure (cannot start) when nothing is to be shown by the command of that name.
void RequireShown(const ShownCapture& shown, const std::string& command);

}  // namespace qxlt
