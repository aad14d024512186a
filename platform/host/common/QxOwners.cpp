#include "QxOwners.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include "QxProcessInfo.h"

namespace qxhost {

namespace {

// Whether the process has a recording of that inode in its memory. True when the system does not tell.
bool Maps(pid_t pid, ino_t inode) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/maps");
    const std::string number = std::to_string(inode);
    const std::string suffix = std::string(".") + QxFileName::kRecording;
    bool hasLines = false;
    for (std::string line; std::getline(file, line); hasLines = true) {
        std::istringstream fields(line);
        std::string range, permissions, offset, device, mapped;
        fields >> range >> permissions >> offset >> device >> mapped;
        if (mapped == number && line.find(suffix) != std::string::npos) return true;
    }
    return !hasLines;
}

}  // namespace

// A process that runs another program in its place goes by that one's name, and has let go of the recording. The name
// alone does not tell: a program may change its own.
pid_t QxOwners::Find(const QxFileName& name, ino_t inode, pid_t hint) {
    if (name.startTime == QxFileName::kReplaced) return 0;
    const pid_t likely = hint != 0 ? hint : name.pid;
    const pid_t pid = QxProcessInfo::IsAlive(likely, name.startTime) ? likely : FindContained(name);
    if (pid == 0 || QxProcessInfo::CommandName(pid) == name.name) return pid;
    return Maps(pid, inode) ? pid : 0;
}

pid_t QxOwners::FindContained(const QxFileName& name) {
    if (!m_hasListed) ListContained();
    const auto found = std::find_if(m_contained.begin(), m_contained.end(), [&name](const Contained& process) {
        return process.innerPid == name.pid && process.startTime == name.startTime;
    });
    return found != m_contained.end() ? found->pid : 0;
}

void QxOwners::ListContained() {
    m_hasListed = true;
    for (const pid_t pid : QxProcessInfo::All()) {
        const pid_t inner = QxProcessInfo::InnerPid(pid);
        if (inner != pid) m_contained.push_back({pid, inner, QxProcessInfo::StartTime(pid)});
    }
}

}  // namespace qxhost
