// What the system tells about a process. A process is known by its id and its start time, since ids are used again.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <set>
#include <string>

namespace qxhost {

class QxProcessInfo {
public:
    // The calling process's command name as the system shortens it (15 bytes); empty when it cannot be read.
    static std::string OwnName();

    // The process's start time in clock ticks since boot; 0 when it does not run (any more), or cannot be asked for.
    static std::uint64_t StartTime(pid_t pid);

    // Its command name as the system shortens it; empty when it does not run, or cannot be asked for.
    static std::string CommandName(pid_t pid);

    // The id that it has in the innermost namespace that it is in: what it takes for its own.
    static pid_t InnerPid(pid_t pid);

    // What stands behind that label in the system's account of it (/proc/PID/status); empty when there is none.
    static std::string Status(pid_t pid, const std::string& label);

    // The ids of all processes that run, or wait for somebody to take note of their end.
    static std::set<pid_t> All();

    // Whether the process that had this id and start time still runs, be it with its first thread ended. When the
    // system does not tell, for lack of descriptors say, it is taken to run.
    static bool IsAlive(pid_t pid, std::uint64_t startTime);
};

}  // namespace qxhost
