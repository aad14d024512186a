/* The device's log service, as far as the library uses it. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { LOG_ID_MAIN = 0 } log_id_t;

typedef enum { DLOG_DEBUG = 3, DLOG_INFO = 4, DLOG_ERROR = 6 } log_priority;

/* Writes one line, formatted as by printf, under the tag. Any thread may call it. Returns the number of bytes written
 * or a negative value. */
int __dlog_print(log_id_t log_id, int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif
