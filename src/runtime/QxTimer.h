// A millisecond tick and a millisecond sleep.
#pragma once

#include <cstdint>

class QxTimer final {
public:
    struct Reading {
        bool valid;        // false when the system gave no time
        std::uint32_t ms;  // wraps at 32 bits; all ones when not valid
    };

    // Milliseconds since an arbitrary moment, wrapping at 32 bits on every system. Prints a warning and returns
    // 0xFFFFFFFF when the system gives no time.
    static unsigned long Tick();

    // As Tick, without the warning.
    static Reading Read();

    // Sleeps for that many milliseconds in all, however often a signal interrupts. Returns the last nanosleep result: 0
    // once the time has passed.
    static int Sleep(unsigned long ms);
};
