// `qxlt run`: the events of live processes.
#pragma once

#include "Commands.h"

namespace qxlt {

void AddRun(CLI::App& app, Invocation& invocation);

}  // namespace qxlt
