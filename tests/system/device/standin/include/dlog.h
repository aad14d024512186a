/* The stand-in device's log service: other names and numbers beside those that the tracker uses, as a device has them.
 */
#ifndef STANDIN_DLOG_H
#define STANDIN_DLOG_H

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { LOG_ID_MAIN, LOG_ID_RADIO, LOG_ID_SYSTEM, LOG_ID_MAX } log_id_t;

typedef enum {
    DLOG_UNKNOWN,
    DLOG_DEFAULT,
    DLOG_VERBOSE,
    DLOG_DEBUG,
    DLOG_INFO,
    DLOG_WARN,
    DLOG_ERROR,
    DLOG_FATAL
} log_priority;

int __dlog_print(log_id_t log_id, int prio, const char* tag, const char* fmt, ...);

#ifdef __cplusplus
}
#endif

#endif
