// The clock behind millisecond ticks, without a word about it: the diagnostic printer reads it too.
#pragma once

#include <cstdint>

class QxClock final {
public:
    struct Reading {
        bool valid;        // false when the system gave no time
        std::uint32_t ms;  // since an arbitrary moment, wraps at 32 bits; all ones when not valid
    };
    static Reading Read();
};
