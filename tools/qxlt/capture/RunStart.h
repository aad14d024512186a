// When a run began, as it knows that itself and as a capture keeps it.
#pragma once

#include <cstdint>
#include <optional>

#include "WallTime.h"

namespace qxlt {

struct RunStart {
    std::optional<std::uint64_t> since;  // calls that began before are not evaluated; nothing: all of them are
    std::optional<std::uint64_t> time;   // when it was, on the clock of the recordings; nothing: that is not known
    ClockOffset clock;                   // how far the wall clock was ahead of that one then
};

}  // namespace qxlt
