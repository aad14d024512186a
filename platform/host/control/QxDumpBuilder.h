// Puts one dump together: what describes the program, compressed, then each process's header with the names of its
// threads behind it, then the threads' calls. So a thread is known to be of the process whose header came last.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "QxThreadStream.h"

namespace qxhost {

class QxDumpBuilder {
public:
    // The stream that takes the calls of a thread. Valid as long as the builder.
    QxThreadStream& Thread(std::uint16_t tid);

    // Begins a process with its header item, as a persistent buffer holds it.
    void AddProcess(const std::string& headerItem) { m_processes.push_back({headerItem, {}}); }

    // Names a thread of the process that was added last; its item comes ahead of all calls. Requires: there is one.
    void NameThread(std::uint16_t tid, const std::string& name) { m_processes.back().names[tid] = name; }

    // Whether there are calls or log items.
    bool HasCalls() const { return !m_threads.empty(); }

    // The whole dump, with the packets that Describe made.
    std::string Finish(const std::string& description);

    // The header item of a process, which tells its whole id.
    static std::string HeaderItem(const std::string& process, std::uint32_t id);

    // Layout and location items (as a persistent buffer holds them) as compressed packets.
    static std::string Describe(const std::string& items);

private:
    struct Process {
        std::string headerItem;
        std::map<std::uint16_t, std::string> names;
    };

    static std::string ThreadPacket(std::uint16_t tid, const std::string& name);

    std::map<std::uint16_t, QxThreadStream> m_threads;
    std::vector<Process> m_processes;
};

}  // namespace qxhost
