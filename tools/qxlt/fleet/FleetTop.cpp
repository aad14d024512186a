#include "FleetTop.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "FleetPrinter.h"
#include "JsonLine.h"
#include "Messages.h"
#include "Table.h"
#include "Terminal.h"
#include "TerminalKind.h"
#include "Text.h"
#include "WallTime.h"

namespace qxlt {

namespace {

constexpr std::size_t kWidest = 32;     // of a name
constexpr std::size_t kUsualRows = 40;  // where no terminal bounds them

std::string PerSecond(std::uint64_t count, double seconds) {
    return FractionText(seconds > 0 ? static_cast<double>(count) / seconds : 0);
}

std::string ShownName(const std::string& name) {
    return Cut(Printable(name), kWidest);
}

// The lines that a terminal has for rows; 0 where there is none.
std::size_t TerminalRows() {
    winsize size{};
    constexpr std::size_t kOthers = 3;
    const bool isKnown = isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    return isKnown && size.ws_row > kOthers ? size.ws_row - kOthers : 0;
}

}  // namespace

FleetTop::FleetTop(Format format, Output& output, double seconds)
    : m_format(format),
      m_output(output),
      m_every(std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds))),
      m_clear(format == Format::Text && isatty(STDOUT_FILENO) != 0 ? ClearText() : "") {}

void FleetTop::Show(const FleetEvent& event) {
    Name name = {event.origin.device, event.event};
    if (m_rows.size() >= kMostRows && m_rows.count(name) == 0) name = {"", ""};
    Row& row = m_rows[name];
    ++row.fresh;
    ++row.all;
    row.value = event.value.substr(0, kWidest * 4);
    row.time = event.time;
    m_isNew = true;
}

// A note would be gone with the next table, or push it away.
void FleetTop::Show(const FleetNews& news) {
    if (m_format == Format::Json)
        m_output.Line(NewsJson(news));
    else if (m_clear.empty())
        TellNews(news);
}

void FleetTop::Tick(Time now) {
    if (!m_begin) m_begin = now;
    if (now - *m_begin < m_every) return;
    EndInterval(std::chrono::duration<double>(now - *m_begin).count());
    m_begin = now;
}

// Where tables stand one below the other, one in which nothing fired says nothing.
void FleetTop::EndInterval(double seconds) {
    if (m_isNew || !m_clear.empty()) {
        if (m_format == Format::Json)
            PrintJson(seconds);
        else
            PrintTable(seconds);
    }
    for (auto& [name, row] : m_rows) row.fresh = 0;
    m_isNew = false;
}

std::vector<const std::pair<const FleetTop::Name, FleetTop::Row>*> FleetTop::Sorted() const {
    std::vector<const std::pair<const Name, Row>*> rows;
    rows.reserve(m_rows.size());
    for (const auto& row : m_rows) rows.push_back(&row);
    std::stable_sort(rows.begin(), rows.end(), [](const auto* left, const auto* right) {
        return std::make_pair(left->second.fresh, left->second.all) >
               std::make_pair(right->second.fresh, right->second.all);
    });
    return rows;
}

std::vector<std::string> FleetTop::TableText(double seconds) const {
    auto rows = Sorted();
    const std::size_t room = m_clear.empty() ? kUsualRows : TerminalRows();
    if (room > 0 && rows.size() > room) rows.resize(room);
    std::size_t width = std::string("device").size();
    for (const auto* const row : rows) width = std::max(width, CharactersOf(ShownName(row->first.first)));
    std::vector<std::vector<std::string>> cells = {
        {Pad("device", width) + "  event", "fired", "per second", "in all", "last", "value"}};
    for (const auto* const row : rows) {
        const auto& [name, counts] = *row;
        const bool isRest = name.first.empty() && name.second.empty();
        cells.push_back({isRest ? "others" : Pad(ShownName(name.first), width) + "  " + ShownName(name.second),
                         std::to_string(counts.fresh), PerSecond(counts.fresh, seconds), std::to_string(counts.all),
                         ShortTime(counts.time), ShownName(counts.value)});
    }
    return TableLines(cells, 0, 1);
}

// Written at once: a screen that is cleared and filled line by line flickers.
void FleetTop::PrintTable(double seconds) {
    const std::size_t width = TerminalWidth(STDOUT_FILENO);
    std::string text;
    for (const std::string& line : TableText(seconds)) text += (width == 0 ? line : Cut(line, width)) + "\n";
    if (!m_clear.empty()) text.pop_back();
    m_output.Line(m_clear + text);
}

void FleetTop::PrintJson(double seconds) {
    for (const auto* const row : Sorted()) {
        const auto& [name, counts] = *row;
        if (counts.fresh == 0) continue;
        JsonLine line;
        line.BeginObject("fired");
        line.AddText("device", name.first);
        line.AddText("event", name.second);
        line.AddFraction("seconds", seconds);
        line.Add("count", counts.fresh);
        line.Add("all", counts.all);
        line.AddText("value", counts.value);
        if (counts.time)
            line.AddText("time", WallText(*counts.time));
        else
            line.AddNull("time");
        line.EndObject();
        m_output.Line(std::move(line).Finish());
    }
}

void FleetTop::Finish(const FleetAccount& account, const RefusedMessages& refused) {
    if (m_isNew && m_begin)
        EndInterval(std::chrono::duration<double>(std::chrono::steady_clock::now() - *m_begin).count());
    if (m_format == Format::Json)
        PrintAccountJson(m_output, account, refused);
    else
        TellAccount(account, refused);
}

}  // namespace qxlt
