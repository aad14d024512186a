// `qxlt check`: finds the mistakes in scenarios before they run.
#pragma once

#include "Commands.h"

namespace qxlt {

void AddCheck(CLI::App& app, Invocation& invocation);

}  // namespace qxlt
