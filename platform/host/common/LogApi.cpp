#include <dlog.h>

#include <cstdlib>

#include "QxLog.h"

namespace {

qxhost::QxLog& Log();

void TellLeftOut() {
    Log().TellLeftOut();
}

qxhost::QxLog& MakeLog() {
    auto& log = *new qxhost::QxLog(qxhost::QxLog::FromEnvironment());
    if (log.IsBounded()) std::atexit(TellLeftOut);
    return log;
}

// Never destroyed: threads may still print while the process ends.
qxhost::QxLog& Log() {
    static qxhost::QxLog& log = MakeLog();
    return log;
}

}  // namespace

int __dlog_print(log_id_t, int prio, const char* tag, const char* fmt, ...) {
    std::va_list arguments;
    va_start(arguments, fmt);
    const int result = Log().Print(prio, tag, fmt, arguments);
    va_end(arguments);
    return result;
}
