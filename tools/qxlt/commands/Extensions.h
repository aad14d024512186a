// What qxlt-fleet does beyond qxlt: it is the whole tool, and links libraries that a device without a broker does not
// have. The options are the same in both; where something is not filled in, qxlt becomes qxlt-fleet.
#pragma once

#include <functional>
#include <memory>

#include "CommonOptions.h"
#include "FleetOptions.h"
#include "IRunPart.h"
#include "PublishOptions.h"

namespace qxlt {

struct Extensions {
    // Makes the part of a live run that publishes its events. Throws a Failure (cannot start).
    std::function<std::unique_ptr<IRunPart>(const PublishOptions& options, const RunSurroundings& surroundings)>
        publish;

    // Receives from a broker until it is ended; returns the exit status. Throws a Failure (cannot start).
    std::function<int(const FleetOptions& options, const CommonOptions& common)> receive;
};

// Becomes qxlt-fleet with the arguments of this program. `work` says what it is needed for: "run --publish". Throws a
// Failure (cannot start) where it is not installed.
[[noreturn]] void BecomeFleetProgram(const std::string& work, const std::vector<std::string>& arguments);

}  // namespace qxlt
