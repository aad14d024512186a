#include "CtfGraph.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "Text.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

constexpr int kMostDepth = 8;  // an LTTng session has five levels of folders
constexpr std::size_t kMostTraces = 1024;

struct Put {
    void operator()(const bt_plugin* plugin) const { bt_plugin_put_ref(plugin); }
    void operator()(const bt_value* value) const { bt_value_put_ref(value); }
    void operator()(const bt_error* error) const { bt_error_release(error); }
};
using Plugin = std::unique_ptr<const bt_plugin, Put>;

// Those of the system, and of the folders that the environment names: not those in a home, which are somebody's own.
Plugin FindPlugin(const char* name) {
    const bt_plugin* plugin = nullptr;
    bt_plugin_find(name, BT_TRUE, BT_FALSE, BT_TRUE, BT_TRUE, BT_FALSE, &plugin);
    if (plugin != nullptr) return Plugin(plugin);
    throw Failure(kCannotStart, std::string("libbabeltrace2 has no plugin \"") + name + "\"; install it anew");
}

// Why the last call failed: the first of the library's causes, which is nearest to it.
std::string TakeReason() {
    const std::unique_ptr<const bt_error, Put> error(bt_current_thread_take_error());
    if (error == nullptr || bt_error_get_cause_count(error.get()) == 0) return "cannot be read";
    return Printable(bt_error_cause_get_message(bt_error_borrow_cause_by_index(error.get(), 0)));
}

// Owned by the graph; null when the trace cannot be read.
const bt_component_source* AddSource(bt_graph* graph, const bt_plugin& ctf, const std::string& trace) {
    const std::unique_ptr<bt_value, Put> parameters(bt_value_map_create());
    bt_value* inputs = nullptr;
    bt_value_map_insert_empty_array_entry(parameters.get(), "inputs", &inputs);
    bt_value_array_append_string_element(inputs, trace.c_str());
    const bt_component_source* source = nullptr;
    const auto status =
        bt_graph_add_source_component(graph, bt_plugin_borrow_source_component_class_by_name_const(&ctf, "fs"),
                                      trace.c_str(), parameters.get(), BT_LOGGING_LEVEL_NONE, &source);
    return status == BT_GRAPH_ADD_COMPONENT_STATUS_OK ? source : nullptr;
}

}  // namespace

std::vector<std::string> FindTraces(const std::string& directory) {
    std::vector<std::string> traces;
    std::error_code error;
    if (fs::is_regular_file(directory + "/metadata", error)) traces.push_back(directory);
    fs::recursive_directory_iterator place(directory, fs::directory_options::skip_permission_denied, error);
    for (; !error && place != fs::end(place); place.increment(error)) {
        if (place.depth() >= kMostDepth) place.disable_recursion_pending();
        std::error_code ignored;
        if (!place->is_directory(ignored) || !fs::is_regular_file(place->path() / "metadata", ignored)) continue;
        if (traces.size() >= kMostTraces) {
            throw Failure(kCannotStart, directory + ": holds more than " + std::to_string(kMostTraces) +
                                            " traces; import a folder of it at a time");
        }
        traces.push_back(place->path().string());
    }
    if (traces.empty()) {
        throw Failure(kCannotStart, directory + ": " + (error ? error.message() : "holds no trace in CTF") +
                                        "; name a directory with a file \"metadata\" somewhere in it");
    }
    std::sort(traces.begin(), traces.end());
    return traces;
}

CtfGraph::CtfGraph(const std::vector<std::string>& traces, Sink sink)
    : m_sink(std::move(sink)),
      m_place(traces.size() == 1 ? traces.front() : "one of " + Counted(traces.size(), "trace")),
      m_graph(bt_graph_create(0)) {
    const Plugin ctf = FindPlugin("ctf");
    const Plugin utils = FindPlugin("utils");
    bt_graph_add_filter_component(m_graph.get(),
                                  bt_plugin_borrow_filter_component_class_by_name_const(utils.get(), "muxer"), "muxer",
                                  nullptr, BT_LOGGING_LEVEL_NONE, &m_muxer);
    const bt_component_sink* end = nullptr;
    bt_graph_add_simple_sink_component(m_graph.get(), "calls", nullptr, Consume, nullptr, this, &end);
    if (m_muxer == nullptr || end == nullptr) throw Failure(kCannotStart, "libbabeltrace2: " + TakeReason());
    for (const std::string& trace : traces) AddTrace(*ctf, trace);
    if (m_ports == 0) {
        throw Failure(kCannotStart, m_problems.empty() ? traces.front() + ": holds no events" : m_problems.front());
    }
    bt_graph_connect_ports(m_graph.get(), bt_component_filter_borrow_output_port_by_index_const(m_muxer, 0),
                           bt_component_sink_borrow_input_port_by_index_const(end, 0), nullptr);
}

// A graph that a trace could not be added to is of no use any more: each is tried by itself first.
void CtfGraph::AddTrace(const bt_plugin& ctf, const std::string& trace) {
    std::string reason;
    const auto reads = [&ctf, &reason](const std::string& part) {
        const CtfGraphOwner graph(bt_graph_create(0));
        const bool isRead = AddSource(graph.get(), ctf, part) != nullptr;
        if (!isRead) reason = TakeReason();
        return isRead;
    };
    if (reads(trace)) return Add(ctf, trace);
    m_problems.push_back(trace + ": " + reason);
    m_repairs.push_back(std::make_unique<TraceRepair>(trace, reads));
    if (m_repairs.back()->HasStreams()) Add(ctf, m_repairs.back()->Path());
}

void CtfGraph::Add(const bt_plugin& ctf, const std::string& trace) {
    const bt_component_source* const source = AddSource(m_graph.get(), ctf, trace);
    if (source == nullptr) throw Failure(kCannotStart, trace + ": " + TakeReason());
    Connect(*source);
}

// The muxer has another free port as soon as its last one is taken.
void CtfGraph::Connect(const bt_component_source& source) {
    for (std::uint64_t i = 0; i < bt_component_source_get_output_port_count(&source); ++i) {
        bt_graph_connect_ports(m_graph.get(), bt_component_source_borrow_output_port_by_index_const(&source, i),
                               bt_component_filter_borrow_input_port_by_index_const(m_muxer, m_ports++), nullptr);
    }
}

// Nothing is thrown through the library.
bt_graph_simple_sink_component_consume_func_status CtfGraph::Consume(bt_message_iterator* iterator, void* data) {
    auto& self = *static_cast<CtfGraph*>(data);
    bt_message_array_const messages = nullptr;
    std::uint64_t count = 0;
    switch (bt_message_iterator_next(iterator, &messages, &count)) {
        case BT_MESSAGE_ITERATOR_NEXT_STATUS_OK:
            break;
        case BT_MESSAGE_ITERATOR_NEXT_STATUS_END:
            return BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_END;
        case BT_MESSAGE_ITERATOR_NEXT_STATUS_AGAIN:
            return BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_AGAIN;
        case BT_MESSAGE_ITERATOR_NEXT_STATUS_MEMORY_ERROR:
            return BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_MEMORY_ERROR;
        default:
            return BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_ERROR;
    }
    for (std::uint64_t i = 0; i < count; ++i) {
        try {
            if (!self.m_thrown) self.m_sink(messages[i]);
        } catch (...) {
            self.m_thrown = std::current_exception();
        }
        bt_message_put_ref(messages[i]);
    }
    return self.m_thrown ? BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_ERROR
                         : BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_OK;
}

bool CtfGraph::Run() {
    const bt_graph_run_status status = bt_graph_run(m_graph.get());
    if (status == BT_GRAPH_RUN_STATUS_OK) return m_problems.empty();
    const std::string reason = TakeReason();
    if (m_thrown) std::rethrow_exception(m_thrown);
    m_problems.push_back(m_place + ": " + reason);
    return false;
}

}  // namespace qxlt
