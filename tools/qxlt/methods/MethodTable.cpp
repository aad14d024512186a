#include "MethodTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "JsonLine.h"
#include "MethodOrder.h"
#include "Table.h"
#include "Text.h"
#include "TimeFormat.h"

namespace qxlt {

namespace {

using Cells = std::vector<std::string>;

constexpr std::size_t kLeastName = 16;

// A dash: nothing tells how many in a second.
std::string RateText(std::uint64_t calls, double seconds) {
    if (!(seconds > 0)) return "-";
    std::array<char, 40> text{};
    const int size = std::snprintf(text.data(), text.size(), "%.1f", static_cast<double>(calls) / seconds);
    return {text.data(), static_cast<std::size_t>(size)};
}

std::string NameText(const std::string& process) {
    return process.empty() ? "-" : Printable(process);
}

std::string CountText(std::size_t count, bool more) {
    return std::to_string(count) + (more ? "+" : "");
}

bool HaveSeveralProcesses(const std::vector<MethodRow>& rows) {
    return std::any_of(rows.begin(), rows.end(),
                       [&rows](const MethodRow& row) { return row.process != rows.front().process; });
}

Cells Titles(const MethodColumns& columns, bool hasProcess) {
    Cells cells{"method"};
    if (hasProcess) cells.emplace_back("process");
    if (columns.calls) cells.emplace_back("calls");
    cells.emplace_back("calls/s");
    if (columns.errors) cells.emplace_back(WordOf(MethodColumn::Errors));
    for (const MethodColumn column :
         {MethodColumn::Least, MethodColumn::Mean, MethodColumn::P99, MethodColumn::Greatest, MethodColumn::Threads}) {
        cells.emplace_back(WordOf(column));
    }
    return cells;
}

Cells CellsOf(const MethodRow& row, double seconds, const MethodColumns& columns, bool hasProcess) {
    Cells cells{row.method};
    if (hasProcess) cells.push_back(NameText(row.process));
    if (columns.calls) cells.push_back(std::to_string(row.calls));
    cells.push_back(RateText(row.calls, seconds));
    if (columns.errors) cells.push_back(std::to_string(row.errors));
    for (const std::uint64_t duration : {row.least, row.mean, row.p99, row.greatest}) {
        cells.push_back(row.timed == 0 ? "-" : SpanText(duration));
    }
    cells.push_back(CountText(row.threads, row.moreThreads));
    return cells;
}

double Rounded(double number) {
    constexpr double kParts = 1000;
    return std::round(number * kParts) / kParts;
}

void AddValues(JsonLine& line, const MethodRow& row) {
    line.BeginList("values");
    for (const ValueRow& value : row.values) {
        line.BeginObject();
        line.AddText("value", value.value);
        line.Add("distinct", value.distinct);
        line.Add("more", value.more);
        line.BeginList("most");
        for (const auto& [text, count] : value.most) {
            line.BeginObject();
            line.AddText("text", text);
            line.Add("calls", count);
            line.EndObject();
        }
        line.EndList();
        line.EndObject();
    }
    line.EndList();
}

void AddNumbers(JsonLine& line, const MethodRow& row, double seconds) {
    line.AddText("method", row.method);
    line.AddText("process", row.process);
    line.AddText("packageName", row.packageName);
    line.AddText("callerName", row.callerName);
    line.Add("calls", row.calls);
    if (seconds > 0) line.AddFraction("perSecond", Rounded(static_cast<double>(row.calls) / seconds));
    line.Add("errors", row.errors);
    line.Add("timed", row.timed);
    if (row.timed > 0) {
        line.Add("least", row.least);
        line.Add("mean", row.mean);
        line.Add("p99", row.p99);
        line.Add("greatest", row.greatest);
    }
    line.Add("threads", row.threads);
    line.Add("moreThreads", row.moreThreads);
}

std::string MostText(const ValueRow& value) {
    std::string text;
    for (const auto& [shown, count] : value.most) {
        text += (text.empty() ? "" : ", ") + shown + " (" + std::to_string(count) + ")";
    }
    return text + (value.more || value.most.size() < value.distinct ? ", ..." : "");
}

}  // namespace

std::vector<Cells> MethodCells(const MethodSpan& span, const MethodColumns& columns) {
    const bool hasProcess = HaveSeveralProcesses(span.rows);
    std::vector<Cells> cells{Titles(columns, hasProcess)};
    for (const MethodRow& row : span.rows) cells.push_back(CellsOf(row, span.seconds, columns, hasProcess));
    return cells;
}

void CutNames(std::vector<Cells>& cells, std::size_t width) {
    std::size_t longest = 0;
    for (const Cells& row : cells) longest = std::max(longest, CharactersOf(row.front()));
    const std::size_t whole = CharactersOf(TableLines(cells, 0).front());
    const std::size_t over = whole - std::min(whole, width);
    const std::size_t room = std::max(kLeastName, longest - std::min(longest, over));
    for (Cells& row : cells) row.front() = Cut(row.front(), room);
}

std::vector<std::string> MethodLines(const MethodSpan& span, const MethodColumns& columns, std::size_t width) {
    const std::vector<Cells> whole = MethodCells(span, columns);
    if (width == 0) return TableLines(whole, 0);
    std::vector<Cells> cut = whole;
    CutNames(cut, width);
    const std::vector<std::string> lines = TableLines(cut, 0);
    return CharactersOf(lines.front()) <= width ? lines : TableLines(whole, width);
}

MethodSpan CalledOf(const MethodSpan& span) {
    MethodSpan called{{}, span.seconds};
    std::copy_if(span.rows.begin(), span.rows.end(), std::back_inserter(called.rows),
                 [](const MethodRow& row) { return row.calls > 0; });
    return called;
}

std::string ProcessesText(const MethodInterval& interval) {
    std::string text;
    for (const ProcessCalls& process : interval.processes) {
        text += (text.empty() ? "" : "; ") + NameText(process.name) + "  " +
                RateText(process.calls, interval.last.seconds) + " calls/s";
        if (process.lost) text += ", " + std::to_string(*process.lost) + " lost";
    }
    return text;
}

std::string IntervalLine(const MethodInterval& interval, const MethodRow& row) {
    JsonLine line;
    line.Add("interval", interval.number);
    line.AddFraction("seconds", Rounded(interval.last.seconds));
    line.BeginObject("statistics");
    AddNumbers(line, row, interval.last.seconds);
    line.EndObject();
    return std::move(line).Finish();
}

std::string WholeLine(const MethodSpan& span, const MethodRow& row) {
    JsonLine line;
    line.BeginObject("statistics");
    AddNumbers(line, row, span.seconds);
    AddValues(line, row);
    line.EndObject();
    return std::move(line).Finish();
}

std::vector<std::string> ValueLines(const std::vector<MethodRow>& rows, std::size_t width) {
    std::vector<Cells> cells{{"value", "distinct", "most often"}};
    for (const MethodRow& row : rows) {
        for (const ValueRow& value : row.values) {
            cells.push_back({row.method + " " + value.value, CountText(value.distinct, value.more), MostText(value)});
        }
    }
    if (cells.size() == 1) return {};
    std::vector<std::string> lines = TableLines(cells, 0, 1);
    for (std::string& line : lines) line = width == 0 ? line : Cut(line, width);
    return lines;
}

}  // namespace qxlt
