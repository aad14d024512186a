// Prints the scenario that --call stands for, with the methods that are recorded by now.
#pragma once

#include <string>
#include <vector>

#include "CallScript.h"
#include "Replayer.h"

namespace qxlt {

// With those of living processes, which the actions then name, as far as they run.
int ShowScript(const CallScript& script, const std::vector<std::string>& processes);

// With those of the input. Throws a Failure (cannot start) when it cannot be read.
int ShowScript(const CallScript& script, const ReplayInput& input);

}  // namespace qxlt
