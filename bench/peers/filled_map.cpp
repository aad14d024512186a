// Fills the map that the tracker's store keeps its calls in from a trace in CTF, through libbabeltrace2: filled_map
// TRACE. Prints the nanoseconds of a call. The trace is what recorded.cpp leaves with LTTng-UST: an entry and an exit
// for each call.
#include <babeltrace2/babeltrace.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "IQxData.h"

namespace {

using Map = std::map<unsigned long long, IQxData::HSCall>;

void Check(bool isTrue, const char* what) {
    if (isTrue) return;
    std::fprintf(stderr, "filled_map: %s\n", what);
    std::exit(1);
}

std::string Bytes(std::int64_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    std::string bytes(4, '\0');
    for (unsigned i = 0; i < 4; ++i) bytes[i] = static_cast<char>(bits >> (8 * i));
    return bytes;
}

IQxData::HSICallArg Argument(std::string value) {
    return {{std::string(), std::move(value)}};
}

std::string Integer(const bt_field* payload, std::uint64_t index) {
    return Bytes(
        bt_field_integer_signed_get_value(bt_field_structure_borrow_member_field_by_index_const(payload, index)));
}

// The trace has one thread at a time: an exit is that of the call that was entered last.
void Take(Map& map, const bt_message* message) {
    if (bt_message_get_type(message) != BT_MESSAGE_TYPE_EVENT) return;
    const bt_event* event = bt_message_event_borrow_event_const(message);
    std::int64_t time = 0;
    bt_clock_snapshot_get_ns_from_origin(bt_message_event_borrow_default_clock_snapshot_const(message), &time);
    const bt_field* payload = bt_event_borrow_payload_field_const(event);
    const std::string_view name = bt_event_class_get_name(bt_event_borrow_class_const(event));
    if (name == "qx_bench:entry") {
        IQxData::HSCall call;
        call.pid = 7;
        call.tid = 1;
        call.locId = 9;
        call.time = static_cast<unsigned long long>(time);
        call.args.in.push_back(Argument(Integer(payload, 0)));
        call.args.in.push_back(Argument(Integer(payload, 1)));
        call.args.in.push_back(
            Argument(bt_field_string_get_value(bt_field_structure_borrow_member_field_by_index_const(payload, 2))));
        map.try_emplace(map.end(), call.time * 1000, std::move(call));
    } else if (name == "qx_bench:exit" && !map.empty()) {
        IQxData::HSCall& call = map.rbegin()->second;
        call.exitTime = static_cast<unsigned long long>(time);
        call.args.ret.push_back(Argument(Integer(payload, 0)));
    }
}

bt_graph_simple_sink_component_consume_func_status Consume(bt_message_iterator* iterator, void* data) {
    bt_message_array_const messages = nullptr;
    std::uint64_t count = 0;
    switch (bt_message_iterator_next(iterator, &messages, &count)) {
        case BT_MESSAGE_ITERATOR_NEXT_STATUS_OK:
            break;
        case BT_MESSAGE_ITERATOR_NEXT_STATUS_END:
            return BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_END;
        case BT_MESSAGE_ITERATOR_NEXT_STATUS_AGAIN:
            return BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_AGAIN;
        default:
            return BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_ERROR;
    }
    for (std::uint64_t i = 0; i < count; ++i) {
        Take(*static_cast<Map*>(data), messages[i]);
        bt_message_put_ref(messages[i]);
    }
    return BT_GRAPH_SIMPLE_SINK_COMPONENT_CONSUME_FUNC_STATUS_OK;
}

const bt_plugin* Plugin(const char* name) {
    const bt_plugin* plugin = nullptr;
    Check(bt_plugin_find(name, BT_TRUE, BT_TRUE, BT_TRUE, BT_TRUE, BT_TRUE, &plugin) == BT_PLUGIN_FIND_STATUS_OK,
          "a plugin of babeltrace2 is missing");
    return plugin;
}

// What reads the trace at the path, all of its streams merged by time, and hands it to the map.
bt_graph* MakeGraph(const char* path, Map& map) {
    bt_graph* graph = bt_graph_create(0);
    bt_value* parameters = bt_value_map_create();
    bt_value* inputs = nullptr;
    bt_value_map_insert_empty_array_entry(parameters, "inputs", &inputs);
    bt_value_array_append_string_element(inputs, path);
    const bt_component_source* source = nullptr;
    const bt_component_filter* muxer = nullptr;
    const bt_component_sink* sink = nullptr;
    bt_graph_add_source_component(graph, bt_plugin_borrow_source_component_class_by_name_const(Plugin("ctf"), "fs"),
                                  "source", parameters, BT_LOGGING_LEVEL_NONE, &source);
    bt_graph_add_filter_component(graph,
                                  bt_plugin_borrow_filter_component_class_by_name_const(Plugin("utils"), "muxer"),
                                  "muxer", nullptr, BT_LOGGING_LEVEL_NONE, &muxer);
    bt_graph_add_simple_sink_component(graph, "sink", nullptr, Consume, nullptr, &map, &sink);
    Check(source != nullptr && muxer != nullptr && sink != nullptr, "the trace cannot be read");
    for (std::uint64_t i = 0; i < bt_component_source_get_output_port_count(source); ++i) {
        bt_graph_connect_ports(graph, bt_component_source_borrow_output_port_by_index_const(source, i),
                               bt_component_filter_borrow_input_port_by_index_const(muxer, i), nullptr);
    }
    bt_graph_connect_ports(graph, bt_component_filter_borrow_output_port_by_index_const(muxer, 0),
                           bt_component_sink_borrow_input_port_by_index_const(sink, 0), nullptr);
    return graph;
}

}  // namespace

int main(int argc, char** argv) {
    using Clock = std::chrono::steady_clock;
    Check(argc == 2, "usage: filled_map TRACE");
    Map& map = *new Map;
    const Clock::time_point start = Clock::now();
    Check(bt_graph_run(MakeGraph(argv[1], map)) == BT_GRAPH_RUN_STATUS_OK, "the trace is damaged");
    const std::chrono::duration<double, std::nano> time = Clock::now() - start;
    std::size_t returned = 0;
    for (const auto& [key, call] : map) returned += call.args.ret.size();
    std::printf("%.1f %zu\n", time.count() / static_cast<double>(map.size()), returned);
    return 0;
}
