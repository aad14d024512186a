// What ends a live run from outside: Ctrl-C and other signals, a reader of the output that has gone, or a request of
// the program's own. One thread waits for all of them at once.
#pragma once

#include <chrono>
#include <optional>

#include "Descriptor.h"

namespace qxlt {

class Interruption final {
public:
    using Clock = std::chrono::steady_clock;

    enum class Cause { TimeOver, Request, Signal, ReaderGone };

    // From now on SIGINT, SIGTERM and SIGHUP are taken here only, in this thread and in those that it starts later.
    // Throws std::system_error.
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption() = default;

    // Ends the next wait. Any thread may call it.
    void Request();

    // Waits until something happens or, with a limit, the time is over. Signals and requests are used up.
    Cause Wait(std::optional<Clock::time_point> limit);

private:
    const Descriptor m_signals;
    const Descriptor m_requests;
    bool m_readerWatched = true;  // until it has been seen to be gone
};

}  // namespace qxlt
