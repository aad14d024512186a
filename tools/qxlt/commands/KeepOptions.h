// The options that have a live run keep dumps: all of them, or those around an event.
#pragma once

#include "CliFwd.h"

namespace qxlt {

struct RunOptions;

// Adds --keep, --keep-on with what belongs to it, and the directory behind all options. `options` must live as long as
// the command.
void AddKeepOptions(CLI::App& command, RunOptions& options);

}  // namespace qxlt
