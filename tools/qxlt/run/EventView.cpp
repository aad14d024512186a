#include "EventView.h"

#include <utility>

#include "JsonLine.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kCycleWidth = 5;
constexpr std::size_t kValueWidth = 12;

}  // namespace

std::string EventJson(const EventView& view) {
    JsonLine line;
    line.Add("cycle", view.cycle);
    line.AddText("event", view.event);
    line.AddText("value", view.value);
    line.BeginObject("call");
    AddCall(line, view.call);
    line.EndObject();
    return std::move(line).Finish();
}

void EventPrinter::Expect(const std::vector<std::string>& events) {
    for (const std::string& event : events) m_counts.emplace(event, 0);
}

void EventPrinter::Print(const EventView& view) {
    ++m_counts[view.event];
    m_output.Line(m_format == Format::Json ? EventJson(view) : TextLine(view));
}

std::string EventPrinter::TextLine(const EventView& view) const {
    const Colors& paint = m_output.Paint();
    return Pad(std::to_string(view.cycle), kCycleWidth) + "  " + paint.Bold(Pad(Printable(view.event), m_nameWidth)) +
           "  " + paint.Green(Pad(Printable(view.value), kValueWidth)) + "  " + paint.Dim(CallText(view.call));
}

}  // namespace qxlt
