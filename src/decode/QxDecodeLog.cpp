#include "QxDecodeLog.h"

#include <cinttypes>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"
#include "QxFormat.h"

void QxDecodeLog::Begin() {
    End();
    m_printed = 0;
}

void QxDecodeLog::End() {
    if (m_leftOut == 0) return;
    QxDebugPrint::GetInstance()->Print("End", __LINE__, Major,
                                       "[QxDecodeLog::End] Too many messages, left out: %" PRIu64, m_leftOut);
    m_leftOut = 0;
}

void QxDecodeLog::Print(const char* function, int line, int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    PrintV(function, line, level, format, arguments);
    va_end(arguments);
}

void QxDecodeLog::PrintV(const char* function, int line, int level, const char* format, va_list arguments) {
    if (!QxDebugPrint::GetInstance()->Writes(level)) return;
    if (m_printed == qxformat::kMaxLines) {
        ++m_leftOut;
        return;
    }
    ++m_printed;
    QxDebugPrint::GetInstance()->PrintV(function, line, level, format, arguments);
}

void QxDecodeLog::Repeat(std::uint32_t times, const char* function, int line, int level, const char* text) {
    if (times == 0 || !QxDebugPrint::GetInstance()->Writes(level)) return;
    for (; times > 0 && m_printed < qxformat::kMaxLines; --times) Print(function, line, level, "%s", text);
    m_leftOut += times;
}
