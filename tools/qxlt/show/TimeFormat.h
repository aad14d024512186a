// How the times of calls are shown.
#pragma once

#include <cstdint>
#include <string>

#include "CallView.h"

namespace qxlt {

enum class TimeFormat {
    Chosen,    // by where the output goes: relative on a terminal, else wall
    Wall,      // the time of day
    Relative,  // seconds since the run began
    Raw,       // the number that was recorded
};

// When the call was made. Where the time of day, or the begin of the run, is not known it is the number that was
// recorded. Requires: the format is not Chosen.
std::string TimeText(TimeFormat format, const CallView& call);

// The time in seconds since the start, "0.104233", or before it, "-0.000002".
std::string RelativeText(std::uint64_t time, std::uint64_t start);

// "12 ns", "4.5 us", "17.3 ms", "2.1 s".
std::string SpanText(std::uint64_t ns);

}  // namespace qxlt
