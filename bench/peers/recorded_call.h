// The call that is recorded, by what the program is compiled for: RECORDED_BY_QX, RECORDED_BY_LTTNG, or neither (for
// `uftrace record`, and for what the calls cost by themselves).
#pragma once

#if defined(RECORDED_BY_QX)
#include <qx/recorder.h>
#elif defined(RECORDED_BY_LTTNG)
#define TRACEPOINT_CREATE_PROBES
#define TRACEPOINT_DEFINE
#include "lttng_call.h"
#endif

#define UNRECORDED __attribute__((no_instrument_function))

#if defined(RECORDED_BY_QX)
#define RECORD(name)                                                                           \
    QX_CALL_RETURNS(call, int, "bench", name, qx::In(number), qx::In(negative), qx::In(text)); \
    return call.Return(number)
#elif defined(RECORDED_BY_LTTNG)
#define RECORD(name)                                     \
    tracepoint(qx_bench, entry, number, negative, text); \
    tracepoint(qx_bench, exit, number);                  \
    return number
#else
#define RECORD(name)                               \
    asm volatile("" : : "r"(negative), "r"(text)); \
    return number
#endif

__attribute__((noinline)) int SetTitle(int number, int negative, const char* text) {
    RECORD("SetTitle");
}
