#include <dlog.h>

#include <atomic>
#include <cstdarg>

#include "QxLog.h"

namespace {

// The log, once it has printed to a terminal. It is never destroyed: threads may still print while the process ends.
std::atomic<qxhost::QxLog*> g_bounded;

qxhost::QxLog& MakeLog() {
    auto& log = *new qxhost::QxLog(qxhost::QxLog::FromEnvironment());
    if (log.IsBounded()) g_bounded = &log;
    return log;
}

qxhost::QxLog& Log() {
    static qxhost::QxLog& log = MakeLog();
    return log;
}

// At the program's end, or when the library that this is in is unloaded.
[[gnu::destructor]] void TellLeftOut() {
    if (qxhost::QxLog* const log = g_bounded) log->TellLeftOut();
}

}  // namespace

int __dlog_print(log_id_t, int prio, const char* tag, const char* fmt, ...) {
    std::va_list arguments;
    va_start(arguments, fmt);
    const int result = Log().Print(prio, tag, fmt, arguments);
    va_end(arguments);
    return result;
}
