// The clock of recordings.
#pragma once

#include <time.h>

#include <cstdint>

namespace qxhost {

// Nanoseconds of the clock that all processes of the machine share and that never goes back. No system call.
inline std::uint64_t NowNs(clockid_t clock = CLOCK_MONOTONIC) {
    struct timespec now {};
    ::clock_gettime(clock, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u + static_cast<std::uint64_t>(now.tv_nsec);
}

// How far the wall clock is ahead of it. The clocks are read one after the other: of several readings the one counts
// that took least, should the thread have been interrupted in between.
inline std::int64_t WallClockOffsetNs() {
    std::uint64_t least = UINT64_MAX;
    std::int64_t offset = 0;
    for (int i = 0; i < 5; ++i) {
        const std::uint64_t before = NowNs();
        const std::uint64_t wall = NowNs(CLOCK_REALTIME);
        const std::uint64_t took = NowNs() - before;
        if (took >= least) continue;
        least = took;
        offset = static_cast<std::int64_t>(wall - (before + took / 2));
    }
    return offset;
}

}  // namespace qxhost
