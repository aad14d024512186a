// Options that take a length of time.
#pragma once

#include <string>

#include "CliFwd.h"

namespace qxlt {

// Reads it into `seconds`, which must outlive the command.
CLI::Option& AddSecondsOption(CLI::App& command, const std::string& name, double& seconds,
                              const std::string& description);

}  // namespace qxlt
