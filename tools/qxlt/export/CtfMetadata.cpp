#include "CtfMetadata.h"

#include <algorithm>

namespace qxlt {

namespace {

// Up to the offset of the clock.
constexpr char kBegin[] = R"(/* CTF 1.8 */
typealias integer { size = 8; align = 8; signed = false; byte_order = le; } := uint8_t;
typealias integer { size = 8; align = 8; signed = false; byte_order = le; base = hex; } := byte_t;
typealias integer { size = 16; align = 8; signed = false; byte_order = le; } := uint16_t;
typealias integer { size = 32; align = 8; signed = false; byte_order = le; } := uint32_t;
typealias integer { size = 64; align = 8; signed = false; byte_order = le; } := uint64_t;
typealias integer { size = 64; align = 8; signed = true; byte_order = le; } := int64_t;
typealias floating_point { exp_dig = 11; mant_dig = 53; byte_order = le; align = 8; } := real_t;

trace {
    major = 1;
    minor = 8;
    byte_order = le;
    packet.header := struct { uint32_t magic; uint32_t stream_id; };
};

env { tracer_name = "qxlt"; };

/* Nanoseconds of the recordings' own clock. */
clock {
    name = recording;
    freq = 1000000000;
)";

constexpr char kRest[] = R"(};

typealias integer { size = 64; align = 8; signed = false; byte_order = le; map = clock.recording.value; } := moment_t;

/* A plain value has one pair without a name; of composite ones each member has a pair. */
struct pair {
    string name;
    enum : uint8_t { signed_number, unsigned_number, real, boolean, text, bytes } kind;
    variant <kind> {
        int64_t signed_number;
        uint64_t unsigned_number;
        real_t real;
        uint8_t boolean;
        string text;
        struct { uint32_t size; byte_t raw[size]; } bytes;
    } value;
};

struct argument {
    uint32_t pairs_size;
    struct pair pairs[pairs_size];
};

stream {
    id = 0;
    packet.context := struct {
        moment_t timestamp_begin;
        moment_t timestamp_end;
        uint64_t content_size;
        uint64_t packet_size;
    };
    event.header := struct { uint16_t id; moment_t timestamp; };
    event.context := struct { string process; uint32_t pid; uint16_t tid; string thread; };
};

event {
    id = 0;
    name = "call_entry";
    stream_id = 0;
    fields := struct { string method; string source; uint32_t in_size; struct argument in_values[in_size]; };
};

/* The duration is exact; the time is cut at the end of the call that this one was made in. */
event {
    id = 1;
    name = "call_exit";
    stream_id = 0;
    fields := struct {
        string method;
        uint64_t duration;
        uint32_t out_size;
        struct argument out_values[out_size];
        uint32_t ret_size;
        struct argument ret_values[ret_size];
    };
};

/* A log record, or a call whose return is not known. */
event {
    id = 2;
    name = "call_without_exit";
    stream_id = 0;
    fields := struct { string method; string source; uint32_t in_size; struct argument in_values[in_size]; };
};

event {
    id = 3;
    name = "scenario_event";
    stream_id = 0;
    fields := struct { string name; string value; string method; uint64_t cycle; };
};

event {
    id = 4;
    name = "loss";
    stream_id = 0;
    fields := struct {
        uint64_t cycle;
        uint64_t recorded;
        uint64_t delivered;
        uint64_t open;
        uint64_t overwritten;
        uint64_t refused;
        uint64_t dropped;
        uint64_t exits_dropped;
        uint64_t bytes_not_decoded;
    };
};
)";

}  // namespace

// A wall clock that stands before the recordings' clock began says nothing.
std::string CtfMetadata(ClockOffset offset) {
    constexpr std::int64_t kSecond = 1000000000;
    const std::int64_t ns = std::max<std::int64_t>(offset.value_or(0), 0);
    return kBegin + ("    absolute = " + std::string(ns > 0 ? "true" : "false") + ";\n") +
           "    offset_s = " + std::to_string(ns / kSecond) + ";\n    offset = " + std::to_string(ns % kSecond) +
           ";\n" + kRest;
}

}  // namespace qxlt
