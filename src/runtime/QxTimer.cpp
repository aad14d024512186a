#include "QxTimer.h"

#include <sys/times.h>
#include <time.h>
#include <unistd.h>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"

namespace {

std::uint32_t MsPerClockTick() {
    const long rate = sysconf(_SC_CLK_TCK);
    return rate > 0 ? static_cast<std::uint32_t>(1000 / rate) : 0;
}

}  // namespace

QxTimer::Reading QxTimer::Read() {
    const clock_t ticks = times(nullptr);
    if (ticks == static_cast<clock_t>(-1)) return {false, UINT32_MAX};
    return {true, static_cast<std::uint32_t>(ticks) * MsPerClockTick()};
}

unsigned long QxTimer::Tick() {
    const Reading now = Read();
    if (!now.valid) {
        QxDebugPrint::GetInstance()->Print("Tick", __LINE__, Warning, "KLP Warning: times() return error(-1).\n");
    }
    return now.ms;
}

int QxTimer::Sleep(unsigned long ms) {
    timespec left = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000};
    int result = nanosleep(&left, &left);
    while (result != 0 && (left.tv_sec > 0 || left.tv_nsec > 0)) result = nanosleep(&left, &left);
    return result;
}
