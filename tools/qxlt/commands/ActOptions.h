// The options that have programs run when events fire.
#pragma once

#include "CliFwd.h"

namespace qxlt {

struct RunOptions;

// Adds --exec, --exec-at-once and --exec-limit. `options` must live as long as the command.
void AddActOptions(CLI::App& command, RunOptions& options);

}  // namespace qxlt
