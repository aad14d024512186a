#include "EventMessage.h"

#include <utility>

#include "JsonLine.h"
#include "MessageId.h"
#include "Topics.h"
#include "WallTime.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostValue = std::size_t{16} * 1024;  // of an event without its call

// The keys that all events have, but for the call.
void AddHead(JsonLine& line, const Sending& sending, std::uint64_t number, const EventView& view,
             std::string_view value) {
    line.AddText("id", MessageIdText({TopicLevel(sending.device), sending.boot, sending.run, number}));
    line.AddText("device", sending.device);
    const std::optional<std::uint64_t> wall = WallTime(view.call.call.time, view.call.clock);
    if (wall) {
        line.AddText("time", WallText(*wall));
    } else {
        line.AddNull("time");
    }
    line.Add("cycle", view.cycle);
    line.AddText("event", view.event);
    line.AddText("value", value);
}

std::string WithoutCall(const Sending& sending, std::uint64_t number, const EventView& view) {
    JsonLine line;
    AddHead(line, sending, number, view, std::string_view(view.value).substr(0, kMostValue));
    line.AddNull("call");
    return std::move(line).Finish();
}

std::string_view StateText(DeviceState state) {
    switch (state) {
        case DeviceState::Running:
            return "running";
        case DeviceState::Ended:
            return "ended";
        default:
            return "gone";
    }
}

void AddRanges(JsonLine& line, const std::vector<DroppedRange>& ranges) {
    line.BeginList("droppedIds");
    for (const DroppedRange& range : ranges) {
        line.AddJson("[\"" + range.run + "\"," + std::to_string(range.first) + "," + std::to_string(range.last) + "]");
    }
    line.EndList();
}

}  // namespace

std::string EventMessage(const Sending& sending, std::uint64_t number, const EventView& view) {
    JsonLine line;
    AddHead(line, sending, number, view, view.value);
    line.BeginObject("call");
    AddCall(line, view.call);
    line.EndObject();
    std::string text = std::move(line).Finish();
    return text.size() <= kMostMessage ? text : WithoutCall(sending, number, view);
}

std::string StatusMessage(const Sending& sending, DeviceState state, std::uint64_t wall, const OutboxCounts& counts,
                          const std::string& health) {
    JsonLine line;
    line.AddText("device", sending.device);
    line.AddText("boot", sending.boot);
    line.AddText("run", sending.run);
    line.AddText("state", StateText(state));
    line.AddText("time", WallText(wall));
    line.Add("taken", counts.taken);
    line.Add("waiting", counts.waiting);
    line.Add("dropped", counts.dropped);
    AddRanges(line, counts.droppedRanges);
    if (!health.empty()) line.AddJson("health", health);
    return std::move(line).Finish();
}

}  // namespace qxlt
