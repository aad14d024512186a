// When a run began, as it knows that itself and as a capture keeps it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "WallTime.h"

namespace qxlt {

struct RunStart {
    std::optional<std::uint64_t> since;  // calls that began before are not evaluated; nothing: all of them are
    std::optional<std::uint64_t> time;   // when it was, on the clock of the recordings; nothing: that is not known
    ClockOffset clock;                   // how far the wall clock was ahead of that one then
};

// A process that is tracked from a later cycle on, since rules took over then which name it.
struct LateProcess {
    std::uint64_t cycle = 0;
    std::string name;
    unsigned short pid = 0;              // as the store has it
    std::optional<std::uint64_t> since;  // from that cycle on in place of the run's
};

}  // namespace qxlt
