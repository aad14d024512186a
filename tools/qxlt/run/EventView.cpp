#include "EventView.h"

#include <utility>

#include "CallValues.h"
#include "JsonLine.h"
#include "Text.h"

namespace qxlt {

namespace {

Cells CellsOf(const EventView& view, TimeFormat format) {
    const std::optional<std::uint64_t> duration = DurationOf(view.call.call);
    return {TimeText(format, view.call),
            Printable(view.event),
            Printable(view.value),
            duration ? SpanText(*duration) : "",
            std::to_string(view.cycle),
            MakerText(view.call),
            Printable(std::string(view.call.thread)),
            CallText(view.call)};
}

// What the times of the lines below are counted from.
std::string StartText(TimeFormat format, const CallView& call) {
    if (format != TimeFormat::Relative || !call.start) return "";
    const std::optional<std::uint64_t> wall = WallTime(*call.start, call.clock);
    return wall ? "times in seconds since " + WallText(*wall) : "times in seconds since the run began";
}

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

LineFields EventFields(const EventView& view) {
    const IQxData::_HSCallLocation& location = view.call.location;
    const std::string& package = location.packageName;
    return {{"EVENT", view.event},
            {"VALUE", view.value},
            {"CYCLE", std::to_string(view.cycle)},
            {"METHOD", (package.empty() ? "" : package + ".") + location.callerName},
            {"PROCESS", view.call.process},
            {"PID", std::to_string(view.call.maker.value_or(view.call.call.pid))},
            {"TIME", TimeText(TimeFormat::Wall, view.call)}};
}

EventPrinter::EventPrinter(Format format, Output& output, std::size_t nameWidth, const ShowOptions& show)
    : m_format(format),
      m_output(output),
      m_filter(show.filter),
      m_time(TimeFormatOf(show, output.IsTerminal())),
      m_width(output.Width()),
      m_layout(show.columns, m_width) {
    m_layout.Reserve(Column::Event, nameWidth);
}

void EventPrinter::Expect(const std::vector<std::string>& events) {
    for (const std::string& event : events) m_counts.emplace(event, 0);
    m_layout.Reserve(Column::Event, WidestOf(events));
}

bool EventPrinter::Takes(const EventView& view) {
    ++m_counts[view.event];
    m_untold.Look(m_filter, TimeOf(view.call));
    return m_filter.ShowsEvent(view.event) && m_filter.ShowsCall(view.call);
}

void EventPrinter::Print(const EventView& view) {
    std::string line = m_format == Format::Json ? EventJson(view) : TextOf(view);
    m_output.Line(std::move(line), m_output.TakesFields() ? EventFields(view) : LineFields());
}

std::string EventPrinter::TextOf(const EventView& view) {
    std::string line = m_layout.Line(CellsOf(view, m_time), m_output.Paint());
    if (m_width > 0 && !std::exchange(m_headed, true)) PrintHead(view);
    return line;
}

// The columns are headed for a person alone: elsewhere each line is an event. Their words are as wide as the first
// event has made the columns.
void EventPrinter::PrintHead(const EventView& view) {
    const std::string start = StartText(m_time, view.call);
    if (!start.empty()) m_output.Line(m_output.Paint().Dim(start));
    m_output.Line(m_output.Paint().Dim(m_layout.Header()));
}

}  // namespace qxlt
