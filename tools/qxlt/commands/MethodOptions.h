// The options that say what of the numbers of methods is counted, and in which order they stand.
#pragma once

#include "CliFwd.h"
#include "MethodOrder.h"
#include "MethodStatistics.h"

namespace qxlt {

// Adds --error and --sort. Both must live as long as the command.
void AddMethodOptions(CLI::App& command, StatisticsChoice& statistics, MethodOrder& order);

}  // namespace qxlt
