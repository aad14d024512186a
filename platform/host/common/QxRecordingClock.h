// The clock of recordings.
#pragma once

#include <time.h>

#include <cstdint>

namespace qxhost {

// Nanoseconds of the clock that all processes of the machine share and that never goes back. No system call.
inline std::uint64_t NowNs() {
    struct timespec now {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u + static_cast<std::uint64_t>(now.tv_nsec);
}

}  // namespace qxhost
