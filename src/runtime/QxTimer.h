// A millisecond tick and a millisecond sleep.
#pragma once

class QxTimer final {
public:
    // Milliseconds since an arbitrary moment, wrapping at 32 bits on every system. Prints a warning and returns
    // 0xFFFFFFFF when the system gives no time.
    static unsigned long Tick();

    // Sleeps for that many milliseconds in all, however often a signal interrupts. Returns the last nanosleep result: 0
    // once the time has passed.
    static int Sleep(unsigned long ms);
};
