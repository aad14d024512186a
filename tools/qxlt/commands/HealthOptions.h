// The options that give out the health of a run.
#pragma once

#include "CliFwd.h"
#include "LiveRun.h"

namespace qxlt {

// Adds --status-file and --metrics-file, and has SIGUSR1 ask. `options` must live as long as the command.
void AddHealthOptions(CLI::App& command, RunOptions& options);

}  // namespace qxlt
