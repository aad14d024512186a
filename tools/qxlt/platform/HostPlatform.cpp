// The host's control knows the recordings of all processes, and why one cannot be read.
#include <qx/control.h>

#include "Platform.h"

namespace qxlt {

std::optional<std::uint64_t> CallClockNow() {
    return qx::host::GetRecordingTime();
}

ClockOffset WallClockOffset() {
    return qx::host::GetWallClockOffset();
}

void WatchRecordings(const std::string& process) {
    qx::host::Watch(process);
}

std::vector<ProcessStatus> ProcessesOf(const std::string& process) {
    std::vector<ProcessStatus> processes;
    for (const qx::host::ProcessState& state : qx::host::GetProcesses(process)) {
        const bool mayCome = state.isRead || state.visibility == qx::host::Visibility::NothingYet;
        processes.push_back({static_cast<std::uint32_t>(state.pid), state.isRunning, mayCome ? "" : state.problem,
                             mayCome ? "" : state.advice});
    }
    return processes;
}

}  // namespace qxlt
