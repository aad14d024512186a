// Which calls are shown.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CallView.h"

namespace qxlt {

// Each pattern is one as the shell has them for file names; empty: all pass.
struct TraceFilter {
    std::string method;                  // "SetVolume", or with its package "audio.*"
    std::vector<std::string> processes;  // one of these; none: all pass
    std::string thread;                  // its name, or its number
    std::uint64_t longerThan = 0;        // ns; calls without exit do not pass unless it is 0

    bool Passes(const CallView& call) const;
};

}  // namespace qxlt
