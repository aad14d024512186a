#include "QxClock.h"

#include <sys/times.h>
#include <unistd.h>

namespace {

std::uint32_t MsPerClockTick() {
    const long rate = sysconf(_SC_CLK_TCK);
    return rate > 0 ? static_cast<std::uint32_t>(1000 / rate) : 0;
}

}  // namespace

QxClock::Reading QxClock::Read() {
    const clock_t ticks = times(nullptr);
    if (ticks == static_cast<clock_t>(-1)) return {false, UINT32_MAX};
    return {true, static_cast<std::uint32_t>(ticks) * MsPerClockTick()};
}
