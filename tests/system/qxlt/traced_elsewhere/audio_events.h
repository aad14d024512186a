// The events that called.cpp marks, for LTTng-UST. The header is read several times, by design of that library.
#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER audio
#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "audio_events.h"

#if !defined(QX_TESTS_AUDIO_EVENTS_H) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define QX_TESTS_AUDIO_EVENTS_H

#include <lttng/tracepoint.h>

#include <cstddef>
#include <cstdint>

LTTNG_UST_TRACEPOINT_ENUM(audio, loudness,
                          LTTNG_UST_TP_ENUM_VALUES(lttng_ust_field_enum_value("NORMAL", 1)
                                                       lttng_ust_field_enum_value("LOUD", 2)))
LTTNG_UST_TRACEPOINT_EVENT(
    audio, SetVolume_entry,
    LTTNG_UST_TP_ARGS(int, level, std::uint8_t, mute, const char*, name, double, gain, const short*, bands, std::size_t,
                      count, int, loudness),
    LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(int, level, level) lttng_ust_field_integer(std::uint8_t, mute, mute)
                            lttng_ust_field_string(name, name) lttng_ust_field_float(double, gain, gain)
                                lttng_ust_field_sequence(short, bands, bands, std::size_t, count)
                                    lttng_ust_field_enum(audio, loudness, int, loudness, loudness)))
LTTNG_UST_TRACEPOINT_EVENT(audio, SetVolume_exit, LTTNG_UST_TP_ARGS(int, result),
                           LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(int, result, result)))
LTTNG_UST_TRACEPOINT_EVENT(audio, note, LTTNG_UST_TP_ARGS(const char*, text),
                           LTTNG_UST_TP_FIELDS(lttng_ust_field_string(text, text)))

#endif

#include <lttng/tracepoint-event.h>
