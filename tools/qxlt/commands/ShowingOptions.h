// The options that say what of a command's results is shown, and how: those of all commands that show calls are the
// same.
#pragma once

#include "CliFwd.h"
#include "ShowOptions.h"

namespace qxlt {

// Adds --time. `show` must live as long as the command, here and below.
void AddTimeOption(CLI::App& command, ShowOptions& show);

// Adds --columns and --event.
void AddEventOptions(CLI::App& command, ShowOptions& show);

// Adds --method, --only-process and --thread.
void AddFilterOptions(CLI::App& command, ShowOptions& show);

// Adds --since and --until-time.
void AddBoundOptions(CLI::App& command, ShowOptions& show);

// Adds --quiet, which takes effect at once.
void AddQuietOption(CLI::App& command);

}  // namespace qxlt
