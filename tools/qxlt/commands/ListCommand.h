// `qxlt list`: what a program records, and a scenario to start from.
#pragma once

#include "Commands.h"

namespace qxlt {

void AddList(CLI::App& app, Invocation& invocation);

}  // namespace qxlt
