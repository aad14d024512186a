// Puts one dump together: what describes the program, compressed, then the threads' names, then their calls.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "QxThreadStream.h"

namespace qxhost {

class QxDumpBuilder {
public:
    // The stream that takes the calls of a thread. Valid as long as the builder.
    QxThreadStream& Thread(std::uint16_t tid);

    // Names a thread; its item comes ahead of all calls.
    void NameThread(std::uint16_t tid, const std::string& name) { m_names[tid] = name; }

    // Whether there are calls or log items.
    bool HasCalls() const { return !m_threads.empty(); }

    // The whole dump, with the packets that Describe made.
    std::string Finish(const std::string& description);

    // Header, layout and location items (as a persistent buffer holds them) as compressed packets.
    static std::string Describe(const std::string& items);

private:
    std::map<std::uint16_t, QxThreadStream> m_threads;
    std::map<std::uint16_t, std::string> m_names;
};

}  // namespace qxhost
