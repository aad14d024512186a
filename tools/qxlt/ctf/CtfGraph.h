// Reads the traces in a directory with libbabeltrace2, all of their streams merged by time.
#pragma once

#include <babeltrace2/babeltrace.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TraceRepair.h"

namespace qxlt {

// The folders in a directory that hold a trace: those with a file "metadata".
std::vector<std::string> FindTraces(const std::string& directory);

struct PutGraph {
    void operator()(const bt_graph* graph) const { bt_graph_put_ref(graph); }
};
using CtfGraphOwner = std::unique_ptr<bt_graph, PutGraph>;

class CtfGraph final {
public:
    using Sink = std::function<void(const bt_message* message)>;

    // Opens the traces. What one of them cannot be read for is kept as a problem, and what is good of it is read.
    // Throws a Failure (cannot start) when none can be, or the library's plugins are missing.
    CtfGraph(const std::vector<std::string>& traces, Sink sink);
    CtfGraph(const CtfGraph&) = delete;
    CtfGraph& operator=(const CtfGraph&) = delete;

    // Hands on all messages, each valid during the call. False when the traces cannot be read to their end.
    bool Run();

    // What was wrong, each with its place.
    const std::vector<std::string>& Problems() const { return m_problems; }

private:
    void AddTrace(const bt_plugin& ctf, const std::string& trace);
    void Add(const bt_plugin& ctf, const std::string& trace);
    void Connect(const bt_component_source& source);
    static bt_graph_simple_sink_component_consume_func_status Consume(bt_message_iterator* iterator, void* data);

    const Sink m_sink;
    const std::string m_place;                            // of what stops the reading
    std::vector<std::unique_ptr<TraceRepair>> m_repairs;  // whose files are read until the end
    CtfGraphOwner m_graph;
    const bt_component_filter* m_muxer = nullptr;
    std::uint64_t m_ports = 0;  // of the muxer that are connected
    std::vector<std::string> m_problems;
    std::exception_ptr m_thrown;  // by the sink
};

}  // namespace qxlt
