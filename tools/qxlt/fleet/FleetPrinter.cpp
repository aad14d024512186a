#include "FleetPrinter.h"

#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "EventCells.h"
#include "Json.h"
#include "JsonLine.h"
#include "Messages.h"
#include "Table.h"
#include "Terminal.h"
#include "Text.h"
#include "WallTime.h"

namespace qxlt {

namespace {

constexpr std::size_t kWidest = 32;    // of a column, so that one long name does not push all others aside
constexpr std::size_t kMostRows = 50;  // of the account for a person
constexpr std::size_t kTimeWidth = 24;

// The cell of a column, which gets wider with what comes.
std::string Cell(const std::string& text, std::size_t& width) {
    width = std::max(width, std::min(CharactersOf(text), kWidest));
    return Pad(text, width);
}

void AddOrigin(JsonLine& line, const RunName& origin) {
    line.AddText("device", origin.device);
    line.AddText("boot", origin.boot);
    line.AddText("run", origin.run);
}

void AddTime(JsonLine& line, const std::optional<std::uint64_t>& time) {
    if (time)
        line.AddText("time", WallText(*time));
    else
        line.AddNull("time");
}

// As the device has sent it.
std::string EventJson(const FleetEvent& event) {
    JsonLine line;
    line.AddText("id", event.id);
    line.AddText("device", event.origin.device);
    AddTime(line, event.time);
    line.Add("cycle", event.cycle);
    line.AddText("event", event.event);
    line.AddText("value", event.value);
    line.AddJson("call", event.call->dump());
    return std::move(line).Finish();
}

std::string RangeText(NumberRange range) {
    const std::string first = std::to_string(range.first);
    return range.first == range.last ? "number " + first : "numbers " + first + " to " + std::to_string(range.last);
}

std::string GapText(const GapNews& gap) {
    const std::uint64_t count = gap.range.last - gap.range.first + 1;
    const bool isDropped = gap.kind == RunNumbers::Kind::Dropped;
    return gap.origin.device + ": " + Counted(count, "event") +
           (isDropped    ? " dropped by its outbox"
            : count == 1 ? " is missing"
                         : " are missing") +
           ": " + RangeText(gap.range) + " of run " + gap.origin.run;
}

void AddNews(JsonLine& line, const GapNews& gap) {
    line.BeginObject("gap");
    AddOrigin(line, gap.origin);
    line.AddText("state", gap.kind == RunNumbers::Kind::Dropped ? "dropped" : "missing");
    line.Add("first", gap.range.first);
    line.Add("last", gap.range.last);
    line.EndObject();
}

void AddNews(JsonLine& line, const DeviceNews& news) {
    const FleetStatus& status = news.status;
    line.BeginObject("status");
    AddOrigin(line, status.origin);
    line.AddText("state", TextOf(status.state));
    AddTime(line, status.time);
    line.Add("taken", status.taken);
    line.Add("waiting", status.waiting);
    line.Add("dropped", status.dropped);
    line.EndObject();
}

void AddCounts(JsonLine& line, const FleetTotals& totals) {
    line.Add("received", totals.received);
    line.Add("doubled", totals.doubled);
    line.Add("late", totals.late);
    line.Add("missing", totals.missing);
    line.Add("dropped", totals.dropped);
}

FleetTotals TotalsOf(const FleetDevice& device) {
    return {1, device.received, device.doubled, device.late, device.Missing(), device.Dropped()};
}

std::vector<std::string> CellsOf(const std::string& name, const FleetTotals& totals) {
    std::vector<std::string> cells = {name};
    for (const std::uint64_t count : {totals.received, totals.doubled, totals.late, totals.missing, totals.dropped}) {
        cells.push_back(std::to_string(count));
    }
    return cells;
}

std::string TotalText(const FleetTotals& totals) {
    return Counted(totals.received, "event") + " of " + Counted(totals.devices, "device") + "; " +
           std::to_string(totals.doubled) + " doubled, " + std::to_string(totals.late) + " late, " +
           std::to_string(totals.missing) + " missing, " + std::to_string(totals.dropped) + " dropped";
}

// Those of many devices that lack something stand first.
std::vector<const FleetDevice*> RowsOf(const FleetAccount& account) {
    std::vector<const FleetDevice*> devices = account.Devices();
    std::stable_partition(devices.begin(), devices.end(),
                          [](const FleetDevice* device) { return device->Missing() + device->Dropped() > 0; });
    if (devices.size() > kMostRows) devices.resize(kMostRows);
    return devices;
}

}  // namespace

std::string ShortTime(const std::optional<std::uint64_t>& time) {
    constexpr std::size_t kToMilliseconds = 23;
    return time ? WallText(*time).substr(0, kToMilliseconds) + "Z" : "-";
}

std::string NewsJson(const FleetNews& news) {
    JsonLine line;
    std::visit([&line](const auto& one) { AddNews(line, one); }, news);
    return std::move(line).Finish();
}

// Of a device that was there before the receiver, only that it is not running is news for a person.
void TellNews(const FleetNews& news) {
    if (const auto* const gap = std::get_if<GapNews>(&news)) return PrintWarning(GapText(*gap));
    const auto& device = std::get<DeviceNews>(news);
    if (device.isFirst && device.status.state == DeviceState::Running) return;
    PrintNote(device.status.origin.device + ": " + TextOf(device.status.state));
}

void TellAccount(const FleetAccount& account, const RefusedMessages& refused) {
    std::vector<std::vector<std::string>> cells = {{"device", "received", "doubled", "late", "missing", "dropped"}};
    const FleetTotals totals = account.Totals();
    const std::vector<const FleetDevice*> rows = RowsOf(account);
    for (const FleetDevice* const row : rows) cells.push_back(CellsOf(Printable(row->name), TotalsOf(*row)));
    if (rows.size() > 1) {
        for (const std::string& line : TableLines(cells, TerminalWidth(STDERR_FILENO))) PrintNote(line);
    }
    PrintNote(TotalText(totals));
    for (const auto& [reason, count] : refused.counts) {
        PrintWarning(Counted(count, "message") + " not taken: " + reason);
    }
}

void PrintAccountJson(Output& output, const FleetAccount& account, const RefusedMessages& refused) {
    for (const FleetDevice* const device : account.Devices()) {
        JsonLine line;
        line.BeginObject("account");
        line.AddText("device", device->name);
        AddCounts(line, TotalsOf(*device));
        line.EndObject();
        output.Line(std::move(line).Finish());
    }
    const FleetTotals totals = account.Totals();
    JsonLine line;
    line.BeginObject("fleet");
    line.Add("devices", totals.devices);
    AddCounts(line, totals);
    line.Add("refused", refused.All());
    line.EndObject();
    output.Line(std::move(line).Finish());
}

FleetPrinter::FleetPrinter(Format format, Output& output)
    : m_format(format), m_output(output), m_width(TerminalWidth(STDOUT_FILENO)) {}

void FleetPrinter::Show(const FleetEvent& event) {
    if (m_format == Format::Json)
        m_output.Line(EventJson(event));
    else
        PrintText(event);
}

void FleetPrinter::PrintText(const FleetEvent& event) {
    const Colors& paint = m_output.Paint();
    const std::string device = Cell(Printable(event.origin.device), m_deviceWidth);
    const std::string name = Cell(Printable(event.event), m_eventWidth);
    const std::string value = Cell(Printable(event.value), m_valueWidth);
    std::string call = JsonCallText(*event.call);
    const std::size_t before =
        kTimeWidth + CharactersOf(device) + CharactersOf(name) + CharactersOf(value) + 8;  // two blanks behind each
    if (m_width > 0) call = Cut(call, std::max<std::size_t>(m_width > before ? m_width - before : 0, 12));
    m_output.Line(paint.Dim(Pad(ShortTime(event.time), kTimeWidth)) + "  " + device + "  " + paint.Bold(name) + "  " +
                  paint.Green(value) + "  " + call);
}

void FleetPrinter::Show(const FleetNews& news) {
    if (m_format == Format::Json)
        m_output.Line(NewsJson(news));
    else
        TellNews(news);
}

void FleetPrinter::Finish(const FleetAccount& account, const RefusedMessages& refused) {
    if (m_format == Format::Json)
        PrintAccountJson(m_output, account, refused);
    else
        TellAccount(account, refused);
}

}  // namespace qxlt
