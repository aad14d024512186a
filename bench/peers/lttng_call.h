// The events of a call for LTTng-UST: see recorded.cpp. The header is read several times, by design of that library.
#undef TRACEPOINT_PROVIDER
#define TRACEPOINT_PROVIDER qx_bench
#undef TRACEPOINT_INCLUDE
#define TRACEPOINT_INCLUDE "lttng_call.h"

#if !defined(QX_BENCH_LTTNG_CALL_H) || defined(TRACEPOINT_HEADER_MULTI_READ)
#define QX_BENCH_LTTNG_CALL_H

#include <lttng/tracepoint.h>

TRACEPOINT_EVENT(qx_bench, entry, TP_ARGS(int, number, int, negative, const char*, text),
                 TP_FIELDS(ctf_integer(int, number, number) ctf_integer(int, negative, negative)
                               ctf_string(text, text)))
TRACEPOINT_EVENT(qx_bench, exit, TP_ARGS(int, result), TP_FIELDS(ctf_integer(int, result, result)))

#endif

#include <lttng/tracepoint-event.h>
