// `qxlt decode`: every record that dumps hold.
#pragma once

#include "Commands.h"

namespace qxlt {

void AddDecode(CLI::App& app, Invocation& invocation);

}  // namespace qxlt
