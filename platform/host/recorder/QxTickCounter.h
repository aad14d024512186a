// The processor's counter of ticks, where a program can read it without the system.
#pragma once

#include <cstdint>
#include <string>

#include "QxRecordingClock.h"

namespace qxhost {

class QxTickCounter {
public:
    // Whether the system itself takes its time from the counter, and so vouches that it runs evenly and is the same on
    // all processors. `path` is where the system names the source of its time.
    static bool IsTrusted(const std::string& path = "/sys/devices/system/clocksource/clocksource0/current_clocksource");

    static std::uint64_t Counter() {
#if defined(__x86_64__) || defined(__i386__)
        return __builtin_ia32_rdtsc();
#elif defined(__aarch64__)
        std::uint64_t ticks = 0;
        asm volatile("mrs %0, cntvct_el0" : "=r"(ticks));
        return ticks;
#else
        return 0;
#endif
    }

    static std::uint64_t System() {
        return NowNs();
    }
};

}  // namespace qxhost
