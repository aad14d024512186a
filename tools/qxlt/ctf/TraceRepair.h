// What can still be read of a damaged trace. The library refuses a trace for one bad stream: the others, and the
// packets of that one which are whole, make another trace that it takes.
#pragma once

#include <functional>
#include <string>

namespace qxlt {

// A folder that is removed with all that it holds.
class TraceRepair final {
public:
    // Whether the library takes the trace in that directory.
    using Reads = std::function<bool(const std::string& trace)>;

    // Makes a folder with what is good of the trace: links to its whole streams, and copies of what is whole in the
    // others. Throws a Failure (cannot start) when there is no place for it.
    TraceRepair(const std::string& trace, const Reads& reads);
    TraceRepair(const TraceRepair&) = delete;
    TraceRepair& operator=(const TraceRepair&) = delete;
    ~TraceRepair();

    // Whether any stream is left, and where.
    bool HasStreams() const { return m_hasStreams; }
    std::string Path() const { return m_directory + "/whole"; }

private:
    void TakeStream(const std::string& name, const Reads& reads);
    bool TakeWholePackets(const std::string& file, const std::string& name, const Reads& reads);
    std::string TrialWith(const std::string& name) const;

    const std::string m_trace;
    std::string m_directory;
    bool m_hasStreams = false;
};

}  // namespace qxlt
