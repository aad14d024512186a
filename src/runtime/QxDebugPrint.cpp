#include "QxDebugPrint.h"

#include <array>
#include <boost/filesystem.hpp>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "IQxLogTracker.h"
#include "QxClock.h"
#include "dlog.h"

namespace {

constexpr char kTag[] = "QXLT";
constexpr char kModule[] = "QX_LOG_TRACKER";
constexpr char kAssertSwitch[] = "/etc/release";
constexpr std::size_t kMessageSize = 8192;
constexpr std::size_t kColorEnd = 6;

// The names and colours of the levels, for readers of colour terminals. Of the colours only the closing one is written.
// Never destroyed: a worker may still print when the process ends.
[[gnu::used]] const auto& t_debugString =
    *new const std::array<std::string, 6>{"Silent", "Fatal", "Major", "Warning", "Debug", "Info"};
const auto& t_debugColor = *new const std::array<std::string, 7>{"\033[0m", "\033[1;31m", "\033[1;35m", "\033[1;34m",
                                                                 "\033[0m", "\033[1;32m", "\033[0m"};

struct Output {
    int priority;
    int line;
};

// The line numbers stand for the printer's own three writing places, one for each priority; readers of logs filter by
// them.
Output OutputOf(int level) {
    switch (level) {
        case Info:
            return {DLOG_INFO, 153};
        case Debug:
            return {DLOG_DEBUG, 155};
        default:
            return {DLOG_ERROR, 157};
    }
}

}  // namespace

QxDebugPrint* QxDebugPrint::GetInstance() {
    static QxDebugPrint* const instance = new QxDebugPrint;
    return instance;
}

QxDebugPrint::QxDebugPrint() : m_startTick(QxClock::Read().ms), m_lastTick(m_startTick), m_level(Info) {}

bool QxDebugPrint::CheckLevel(int level) const {
    return level >= Fatal && level <= Info && m_level >= level;
}

void QxDebugPrint::Print(const char* function, int line, int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    PrintV(function, line, level, format, arguments);
    va_end(arguments);
}

void QxDebugPrint::PrintV(const char* function, int line, int level, const char* format, va_list arguments) {
    if (Writes(level)) m_Print(function, line, level, false, format, arguments);
}

void QxDebugPrint::m_Print(const char*, int, int level, bool, const char* format, va_list arguments) {
    m_MarkTime();
    char message[kMessageSize] = "";
    const int length = std::vsnprintf(message, sizeof message, format, arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof message) {
        const auto end = static_cast<std::size_t>(length);
        std::snprintf(message + end, sizeof message - end, "%s", t_debugColor[kColorEnd].c_str());
    }
    const Output output = OutputOf(level);
    __dlog_print(LOG_ID_MAIN, output.priority, kTag, "%s: %s(%d) > %s", kModule, "m_Print", output.line, message);
}

// Reads the clock without QxTimer's warning, which would print and so come back here.
void QxDebugPrint::m_MarkTime() {
    m_lastTick = QxClock::Read().ms;
}

void QxDebugPrint::Write(int priority, const char* function, int line, const char* format, ...) {
    char message[512] = "";
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    __dlog_print(LOG_ID_MAIN, priority, kTag, "%s: %s(%d) > %s", kModule, function, line, message);
}

void QxDebugPrint::Assert(const char*, const char*, unsigned long) {
    boost::system::error_code error;
    if (!boost::filesystem::exists(boost::filesystem::status(kAssertSwitch, error))) std::abort();
}
