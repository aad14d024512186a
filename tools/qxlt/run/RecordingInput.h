// A recording, of a living process or an ended one, as what is replayed.
#pragma once

#include <string>

#include "Replayer.h"

namespace qxlt {

// `recording` is what --recording names. It names its process itself, unless `process` does. Throws a Failure (cannot
// start) when there is none, or it cannot be read.
ReplayInput RecordingInput(const std::string& recording, const std::string& process = std::string());

}  // namespace qxlt
