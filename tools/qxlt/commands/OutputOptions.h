// The options that say where the lines of a live run go.
#pragma once

#include "CliFwd.h"

namespace qxlt {

struct RunOptions;

// Adds --output, --rotate and --rotate-keep. `options` must live as long as the command.
void AddOutputOptions(CLI::App& command, RunOptions& options);

}  // namespace qxlt
