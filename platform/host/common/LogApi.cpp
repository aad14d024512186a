#include <dlog.h>

#include "QxLog.h"

int __dlog_print(log_id_t, int prio, const char* tag, const char* fmt, ...) {
    // Never destroyed: threads may still print while the process ends.
    static qxhost::QxLog& log = *new qxhost::QxLog(qxhost::QxLog::FromEnvironment());
    std::va_list arguments;
    va_start(arguments, fmt);
    const int result = log.Print(prio, tag, fmt, arguments);
    va_end(arguments);
    return result;
}
