// The options of a live run about scripts that change while it goes on.
#pragma once

#include "CliFwd.h"

namespace qxlt {

struct RunOptions;

// Adds --watch, and has SIGHUP read the scripts again. `options` must live as long as the command.
void AddRulesOptions(CLI::App& command, RunOptions& options);

}  // namespace qxlt
