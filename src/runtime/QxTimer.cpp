#include "QxTimer.h"

#include <time.h>

#include "IQxLogTracker.h"
#include "QxClock.h"
#include "QxDebugPrint.h"

unsigned long QxTimer::Tick() {
    const QxClock::Reading now = QxClock::Read();
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
