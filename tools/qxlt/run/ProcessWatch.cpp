#include "ProcessWatch.h"

#include <algorithm>
#include <utility>

#include "Text.h"

namespace qxlt {

namespace {

constexpr char kReadable[] = "it can be read now";

// As it is kept with a capture, which holds no other text.
std::string ReasonOf(const ProcessStatus& status) {
    return ReplaceInvalid(status.problem + (status.advice.empty() ? "" : "; " + status.advice));
}

const ProcessStatus* Find(const std::vector<ProcessStatus>& processes, std::uint32_t pid) {
    const auto found = std::find_if(processes.begin(), processes.end(),
                                    [pid](const ProcessStatus& status) { return status.pid == pid; });
    return found == processes.end() ? nullptr : &*found;
}

}  // namespace

void ProcessWatch::Begin(const std::string& process) {
    KnownProcesses& known = m_known[process];
    for (const ProcessStatus& status : m_source(process)) known[status.pid].isRunning = status.isRunning;
}

std::vector<ProcessChange> ProcessWatch::Look(const std::string& process) {
    KnownProcesses& known = m_known[process];
    const std::vector<ProcessStatus> now = m_source(process);
    std::vector<ProcessChange> changes;
    NoteEnds(known, now, changes);
    for (const ProcessStatus& status : now) {
        const auto before = known.find(status.pid);
        if (before == known.end() || (status.isRunning && !before->second.isRunning)) {
            NoteStart(known, status, changes);
        } else if (status.isRunning) {
            NoteReading(before->second, status, changes);
        }
        (status.problem.empty() ? m_someReadable : m_someHidden) = true;
    }
    return changes;
}

// An id that is not told of any more may come again with another process.
void ProcessWatch::NoteEnds(KnownProcesses& known, const std::vector<ProcessStatus>& now,
                            std::vector<ProcessChange>& changes) {
    for (auto& [pid, process] : known) {
        const ProcessStatus* const status = Find(now, pid);
        if (!process.isRunning || (status != nullptr && status->isRunning)) continue;
        process.isRunning = false;
        changes.push_back({pid, ProcessState::Ended, ""});
    }
}

void ProcessWatch::NoteStart(KnownProcesses& known, const ProcessStatus& status, std::vector<ProcessChange>& changes) {
    const bool isAlone =
        std::none_of(known.begin(), known.end(), [](const auto& other) { return other.second.isRunning; });
    const bool isAnew = isAlone && !known.empty();
    changes.push_back({status.pid, isAnew ? ProcessState::Restarted : ProcessState::Started, ""});
    if (!status.isRunning) changes.push_back({status.pid, ProcessState::Ended, ""});
    known[status.pid] = {status.isRunning, false};
}

void ProcessWatch::NoteReading(Known& known, const ProcessStatus& status, std::vector<ProcessChange>& changes) {
    const bool isUnreadable = !status.problem.empty();
    if (isUnreadable == std::exchange(known.isUnreadable, isUnreadable)) return;
    m_someUnreadable = m_someUnreadable || isUnreadable;
    changes.push_back({status.pid, isUnreadable ? ProcessState::Unreadable : ProcessState::Started,
                       isUnreadable ? ReasonOf(status) : kReadable});
}

std::vector<std::uint32_t> ProcessWatch::Running(const std::string& process) const {
    std::vector<std::uint32_t> pids;
    for (const ProcessStatus& status : m_source(process)) {
        if (status.isRunning) pids.push_back(status.pid);
    }
    return pids;
}

}  // namespace qxlt
