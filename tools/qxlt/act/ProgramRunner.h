// Runs commands beside the tracker, so many at once, each for so long at most, without ever making anyone wait.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "Descriptor.h"
#include "RateWindow.h"
#include "StartProgram.h"

namespace qxlt {

class ProgramRunner final {
public:
    struct Bounds {
        unsigned atOnce = 4;                 // run at the same time; the others wait
        std::chrono::milliseconds limit{0};  // a command that runs longer is killed with its process group
        std::size_t waiting = 256;           // commands, and
        std::size_t waitingBytes = 4 << 20;  // the bytes of their input, that wait at most
    };

    explicit ProgramRunner(const Bounds& bounds);
    ProgramRunner(const ProgramRunner&) = delete;
    ProgramRunner& operator=(const ProgramRunner&) = delete;
    // Kills what still runs.
    ~ProgramRunner();

    // Has the command run as soon as fewer run; one that there is no room for is counted and told of. `name` is what
    // it is called when it fails. Any thread may call it.
    void Run(const std::string& name, ProgramStart start);

    // Lets all of them end, for as long as one of them may run, and tells of what was left out.
    void Finish();

    struct Counts {
        std::uint64_t started = 0;
        std::uint64_t failed = 0;   // or could not be started
        std::uint64_t leftOut = 0;  // since there was no room
    };
    // Any thread may ask.
    Counts Count() const;

    // Whether a command was left out or failed.
    bool Failed() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Waiting {
        std::string name;
        ProgramStart start;
    };
    struct Running {
        Running(Waiting from, pid_t id, Clock::time_point last);

        std::string name;
        std::string command;
        pid_t pid;
        Descriptor ended;  // readable when it has ended; none where the system has no such thing
        Clock::time_point end;
        std::string killed = {};  // why; empty: it was not
    };

    void Loop();
    std::optional<Waiting> Next();
    void StartNext(Waiting next);
    void Await();
    int TimeLeft();
    void Reap();
    void EndLate();
    void DropWaiting();
    void TellEnd(const Running& program, int status);
    void Tell(const std::string& text);
    void Wake();
    void End(Clock::time_point last);

    const Bounds m_bounds;
    const Descriptor m_wake;
    mutable std::mutex m_mutex;
    std::deque<Waiting> m_waiting;            // this and what follows is guarded by m_mutex
    std::size_t m_waitingBytes = 0;           //
    Counts m_counts;                          //
    bool m_isFullTold = false;                // since there was room
    std::optional<Clock::time_point> m_last;  // when all have to have ended; nothing: nobody wants that yet
    std::list<Running> m_running;             // this and what follows is the thread's
    RateWindow m_told;
    std::thread m_thread;  // last: it uses the others
};

}  // namespace qxlt
