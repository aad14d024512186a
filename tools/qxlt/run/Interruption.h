// What ends a live run from outside: Ctrl-C and other signals, a reader of the output that has gone, or a request of
// the program's own; and what comes from outside without ending it. One thread waits for all of them at once.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

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

    // From now on the signal calls `handler`, from within Wait and on its thread, and ends nothing. It is taken here
    // only, in this thread and in those that it starts later. Before the first Wait.
    void Handle(int signal, std::function<void()> handler);

    // The same for whatever makes the descriptor readable; `handler` reads it. Not owned.
    void Watch(int descriptor, std::function<void()> handler);

    // From now on nobody need read standard output: nothing is written there. Before the first Wait.
    void LeaveReader() { m_readerWatched = false; }

    // From within a handler: the wait ends as with a signal that ends.
    void EndBySignal() { m_endsBySignal = true; }

    // Ends the next wait. Any thread may call it.
    void Request();

    // Waits until something happens or, with a limit, the time is over. Signals and requests are used up.
    Cause Wait(std::optional<Clock::time_point> limit);

private:
    struct Source {
        int descriptor;
        std::function<void()> handler;
    };

    bool TakeSignal();

    std::vector<std::pair<int, std::function<void()>>> m_handlers;  // by signal
    std::vector<Source> m_sources;
    const Descriptor m_signals;
    const Descriptor m_requests;
    bool m_readerWatched = true;  // until it has been seen to be gone, or is not needed
    bool m_endsBySignal = false;
};

}  // namespace qxlt
