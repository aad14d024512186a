#include "QxEventRoom.h"

#include <cinttypes>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"
#include "QxFormat.h"

void QxEventRoom::Begin(std::uint64_t dumpBytes) {
    End();
    m_left = qxformat::kMaxCallBytes + dumpBytes * qxformat::kCallBytesPerByte;
}

void QxEventRoom::End() {
    m_left = UINT64_MAX;
    if (m_notKept == 0) return;
    QxDebugPrint::GetInstance()->Print("End", __LINE__, Major,
                                       "[QxEventRoom::End] Too many events to keep, raised only: %" PRIu64, m_notKept);
    m_notKept = 0;
}

bool QxEventRoom::TryTake(std::uint64_t cost) {
    if (cost > m_left) {
        ++m_notKept;
        return false;
    }
    m_left -= cost;
    return true;
}
