#include "RunProcesses.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "CallView.h"
#include "Messages.h"
#include "Platform.h"
#include "QxLogTracker.h"
#include "RunningProcesses.h"
#include "Text.h"

namespace qxlt {

RunProcesses::RunProcesses(std::set<std::string> wanted, ProcessStore& store)
    : m_store(store), m_wanted(std::move(wanted)), m_waiting(m_wanted) {
    WatchWaiting();
}

// A process may end again while others are waited for.
void RunProcesses::WatchWaiting() {
    for (const std::string& process : m_waiting) {
        WatchRecordings(process);
        m_watch.Begin(process);
    }
}

std::vector<std::string> RunProcesses::RegisterWaiting(QxLogTracker& tracker) {
    for (auto name = m_waiting.begin(); name != m_waiting.end();) {
        name = Register(tracker, *name) ? m_waiting.erase(name) : std::next(name);
    }
    return {m_waiting.begin(), m_waiting.end()};
}

// Registers the process, if it runs, under its own id: the tracker by itself takes the first whose name begins alike.
bool RunProcesses::Register(QxLogTracker& tracker, const std::string& process) {
    for (const unsigned long pid : FindRunning(process)) {
        if (pid > UINT16_MAX && m_warned.insert(process).second) WarnOfCutId(process, pid);
        if (static_cast<unsigned short>(pid) == 0) continue;  // counts as none
        m_store.AppendProcessName(static_cast<unsigned short>(pid), process);
        std::string name = process;
        if (tracker.SetQxProcess(name) == 0) continue;
        m_store.AppendCurrentProcess(process);
        m_names.Add(process, m_store.GetCurrentPID());
        m_tracked.insert(process);
        return true;
    }
    return false;
}

void RunProcesses::NoteNear(const std::vector<std::string>& missing) {
    for (const std::string& process : missing) {
        const bool isFirst = m_noted.insert(process).second;
        if (isFirst && !NearRunning(process).empty()) PrintNote(NotRunningText(process));
    }
}

// What a process recorded that was not tracked so far belongs to nobody's rules.
void RunProcesses::Change(QxLogTracker& tracker, std::set<std::string> wanted, bool isRunning) {
    m_wanted = std::move(wanted);
    for (auto name = m_tracked.begin(); name != m_tracked.end();) {
        const bool stays = m_wanted.count(*name) != 0;
        if (!stays) tracker.DropProcess(*name);
        if (!stays) PrintNote(Printable(*name) + " is tracked no longer");
        name = stays ? std::next(name) : m_tracked.erase(name);
    }
    std::set<std::string> waiting;
    std::set_difference(m_wanted.begin(), m_wanted.end(), m_tracked.begin(), m_tracked.end(),
                        std::inserter(waiting, waiting.end()));
    for (const std::string& name : waiting) {
        if (isRunning && m_waiting.count(name) == 0) m_namedAt[name] = CallClockNow();
    }
    m_waiting = std::move(waiting);
    WatchWaiting();
    if (isRunning && IsWaiting()) {
        PrintNote("waiting for " + CommaSeparated({m_waiting.begin(), m_waiting.end()}));
    }
}

std::vector<LateProcess> RunProcesses::RegisterLate(QxLogTracker& tracker, std::uint64_t cycle, bool history) {
    const std::set<std::string> missing = m_waiting;
    RegisterWaiting(tracker);
    std::vector<LateProcess> found;
    for (const std::string& process : missing) {
        if (m_waiting.count(process) == 0) found.push_back(Begin(tracker, process, cycle, history));
    }
    return found;
}

// One that was tracked before has had its calls evaluated; where the time of calls is not known, those that came since
// then are taken for what it records from now on.
LateProcess RunProcesses::Begin(QxLogTracker& tracker, const std::string& process, std::uint64_t cycle, bool history) {
    const bool isKnown = !m_begun.insert(process).second;
    const std::optional<std::uint64_t> since = m_namedAt[process];
    LateProcess late{cycle, process, m_names.Pids().at(process), std::nullopt};
    if (isKnown || !history) late.since = since;
    if (since || !isKnown) tracker.FetchAnew(process);
    return late;
}

std::vector<std::string> RunProcesses::Running() const {
    std::vector<std::string> all;
    for (const auto& [process, id] : m_names.Pids()) {
        for (std::string& text : Running(process)) all.push_back(std::move(text));
    }
    return all;
}

std::vector<std::string> RunProcesses::Running(const std::string& process) const {
    std::vector<std::string> texts;
    for (const std::uint32_t pid : m_watch.Running(process)) texts.push_back(ProcessText(process, pid));
    return texts;
}

}  // namespace qxlt
