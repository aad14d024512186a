// `qxlt replay`: the events of a kept capture, or of loose dumps.
#pragma once

#include "Commands.h"

namespace qxlt {

void AddReplay(CLI::App& app, Invocation& invocation);

}  // namespace qxlt
