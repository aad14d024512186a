// Notices that files may have changed, whichever way an editor or an installer does that: written in place, replaced by
// another file, reached through a link that leads elsewhere by now, in a directory that was made anew. What the system
// does not tell of (a file of another machine that changes there, a writer that never closes) is not noticed.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Descriptor.h"
#include "Interruption.h"

namespace qxlt {

class ScriptWatch final {
public:
    // After a change nothing is told until that long no other one came; of changes that do not end it is told after the
    // second time.
    static constexpr std::chrono::milliseconds kSettles{200};
    static constexpr std::chrono::milliseconds kLongest{2000};

    // Calls `changed` from within the interruption's waits, when the files may have changed and once at first. Not
    // owned; nothing waits any more once the watch is gone. Throws a Failure (cannot start) when the system watches no
    // more directories.
    ScriptWatch(std::vector<std::string> files, Interruption& interruption, std::function<void()> changed);

private:
    using Clock = std::chrono::steady_clock;

    std::string Follow();
    void Drain();
    bool Take(const char* bytes, std::size_t size);
    void Postpone();
    void Settle();

    const std::vector<std::string> m_files;
    const std::function<void()> m_changed;
    const Descriptor m_events;
    const Descriptor m_timer;
    std::map<int, std::set<std::string>> m_names;  // that count, by watch; directories may come under two names
    Clock::time_point m_first{};                   // change that is not told yet; the epoch: there is none
    std::string m_told;                            // the last problem
};

}  // namespace qxlt
