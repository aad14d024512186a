// `qxlt clean`.
#pragma once

#include "Commands.h"

namespace qxlt {

void AddClean(CLI::App& app, Invocation& invocation);

}  // namespace qxlt
