// Receives what devices publish until it is ended.
#pragma once

#include "CommonOptions.h"
#include "FleetOptions.h"

namespace qxlt {

// What `qxlt fleet` is. Returns the exit status; throws a Failure (cannot start).
int ReceiveFleet(const FleetOptions& options, const CommonOptions& common);

}  // namespace qxlt
