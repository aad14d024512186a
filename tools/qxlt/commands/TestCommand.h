// `qxlt test`: folders of scenarios, dumps and the events that they are expected to raise.
#pragma once

#include "Commands.h"

namespace qxlt {

void AddTest(CLI::App& app, Invocation& invocation);

}  // namespace qxlt
