// The processes of a live run: which are wanted, which of them were found, and which are still waited for.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ProcessNames.h"
#include "ProcessStore.h"
#include "ProcessWatch.h"
#include "RunStart.h"

class QxLogTracker;

namespace qxlt {

// One thread at a time: the one that started the run, and from the first cycle on the one that runs the cycles.
class RunProcesses final {
public:
    // The names of those that are wanted. `store`, which the tracker uses, must outlive this.
    RunProcesses(std::set<std::string> wanted, ProcessStore& store);

    // Sorted.
    std::vector<std::string> Wanted() const { return {m_wanted.begin(), m_wanted.end()}; }
    bool IsWaiting() const { return !m_waiting.empty(); }

    // Has the tracker know the processes that run by now. Returns the others.
    std::vector<std::string> RegisterWaiting(QxLogTracker& tracker);

    // Says of each name once what runs that is called nearly so: one that is mistyped is waited for without end.
    void NoteNear(const std::vector<std::string>& missing);

    // The first cycle begins.
    void BeginCycles() { m_begun = m_tracked; }

    // Others are wanted from now on; what no longer is, is tracked no more. `isRunning`: cycles have begun.
    void Change(QxLogTracker& tracker, std::set<std::string> wanted, bool isRunning);

    // Registers those that were waited for while the run went on, and returns them. They are tracked from the cycle on
    // that has begun. `history`: their calls from before are evaluated, too.
    std::vector<LateProcess> RegisterLate(QxLogTracker& tracker, std::uint64_t cycle, bool history);

    const ProcessNames& Names() const { return m_names; }
    const ProcessWatch& Watch() const { return m_watch; }
    ProcessWatch& Watch() { return m_watch; }

    // "media-server[4711]" of each that is tracked and runs.
    std::vector<std::string> Running() const;
    std::vector<std::string> Running(const std::string& process) const;

private:
    void WatchWaiting();
    bool Register(QxLogTracker& tracker, const std::string& process);
    LateProcess Begin(QxLogTracker& tracker, const std::string& process, std::uint64_t cycle, bool history);

    ProcessStore& m_store;
    std::set<std::string> m_wanted;   // that the rules name, or -p
    std::set<std::string> m_waiting;  // those that do not run yet
    std::set<std::string> m_tracked;  // those that were found
    std::set<std::string> m_begun;    // those of which a cycle fetched a dump, now or under other rules
    std::map<std::string, std::optional<std::uint64_t>> m_namedAt;  // when rules began to name them during the run
    std::set<std::string> m_warned;                                 // whose id has been complained about
    std::set<std::string> m_noted;                                  // and of which it was said what runs in their place
    ProcessNames m_names;
    ProcessWatch m_watch;
};

}  // namespace qxlt
