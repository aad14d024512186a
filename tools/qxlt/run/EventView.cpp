#include "EventView.h"

#include "Json.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kCycleWidth = 5;
constexpr std::size_t kValueWidth = 12;

}  // namespace

JsonObject EventJson(const EventView& view) {
    JsonObject object = {{"cycle", view.cycle}};
    AddText(object, "event", view.event);
    AddText(object, "value", view.value);
    JsonObject call = JsonObject::object();
    AddCall(call, view.call);
    object["call"] = std::move(call);
    return object;
}

void EventPrinter::Expect(const std::vector<std::string>& events) {
    for (const std::string& event : events) m_counts.emplace(event, 0);
}

void EventPrinter::Print(const EventView& view) {
    ++m_counts[view.event];
    m_output.Line(m_format == Format::Json ? EventJson(view).dump() : TextLine(view));
}

std::string EventPrinter::TextLine(const EventView& view) const {
    const Colors& paint = m_output.Paint();
    return Pad(std::to_string(view.cycle), kCycleWidth) + "  " + paint.Bold(Pad(Printable(view.event), m_nameWidth)) +
           "  " + paint.Green(Pad(Printable(view.value), kValueWidth)) + "  " + paint.Dim(CallText(view.call));
}

}  // namespace qxlt
