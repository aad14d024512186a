// What is known on a device.
#include "Platform.h"
#include "RunningProcesses.h"

namespace qxlt {

std::optional<std::uint64_t> CallClockNow() {
    return std::nullopt;
}

ClockOffset WallClockOffset() {
    return std::nullopt;
}

void WatchRecordings(const std::string&) {}

std::vector<ProcessStatus> ProcessesOf(const std::string& process) {
    std::vector<ProcessStatus> processes;
    for (const unsigned long pid : FindRunning(process)) {
        processes.push_back({static_cast<std::uint32_t>(pid), true, "", ""});
    }
    return processes;
}

}  // namespace qxlt
