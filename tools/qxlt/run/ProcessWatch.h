// Notices when a watched process starts, ends or is started anew, and when nothing of it can be read.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Lifecycle.h"
#include "Platform.h"

namespace qxlt {

// One thread at a time.
class ProcessWatch final {
public:
    // Who tells which processes of a name there are.
    using Source = std::function<std::vector<ProcessStatus>(const std::string& process)>;
    explicit ProcessWatch(Source source = ProcessesOf) : m_source(std::move(source)) {}

    // Begins with the name. What runs already is known, and no change.
    void Begin(const std::string& process);

    // What has changed since the last look, in order. A process that has just started may not have come to record
    // anything: that it cannot be read is told when it is so at a second look.
    std::vector<ProcessChange> Look(const std::string& process);

    // The ids of the processes of that name that run now, whether they were told of or not.
    std::vector<std::uint32_t> Running(const std::string& process) const;

    // Whether processes ran and nothing could be read of any of them, so far: as it was told, and as it looks.
    bool IsBlind() const { return m_someUnreadable && !m_someReadable; }
    bool LooksBlind() const { return m_someHidden && !m_someReadable; }

private:
    struct Known {
        bool isRunning = true;
        bool isUnreadable = false;  // and told
    };
    using KnownProcesses = std::map<std::uint32_t, Known>;

    void NoteEnds(KnownProcesses& known, const std::vector<ProcessStatus>& now, std::vector<ProcessChange>& changes);
    void NoteStart(KnownProcesses& known, const ProcessStatus& status, std::vector<ProcessChange>& changes);
    void NoteReading(Known& known, const ProcessStatus& status, std::vector<ProcessChange>& changes);

    const Source m_source;
    std::map<std::string, KnownProcesses> m_known;  // by name
    bool m_someReadable = false;
    bool m_someHidden = false;      // though perhaps only until it begins to record
    bool m_someUnreadable = false;  // and told
};

}  // namespace qxlt
