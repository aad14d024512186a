#include "RunAccount.h"

#include <unistd.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include "JsonLine.h"
#include "Messages.h"
#include "Table.h"
#include "Terminal.h"
#include "Text.h"

namespace qxlt {

namespace {

using Microseconds = std::chrono::duration<std::uint64_t, std::micro>;

std::string ShownTime(RunAccount::Clock::duration time) {
    const std::uint64_t tenths = std::chrono::duration_cast<Microseconds>(time).count() / 100;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " ms";
}

}  // namespace

void RunAccount::AddDump(const std::string& process, const std::optional<LossCounts>& counts,
                         std::uint64_t bytesNotDecoded, std::uint64_t history) {
    const bool lost = bytesNotDecoded > 0 || (counts && counts->Any());
    m_lost = m_lost || lost;
    if (history > 0) m_rows[process].history += history;
    if (!counts) return;
    m_known = true;
    Row& row = m_rows[process];
    row.counts.Add(*counts);
    row.bytesNotDecoded += bytesNotDecoded;
    if (lost) PrintLoss(process, counts->Without(history), bytesNotDecoded);
}

void RunAccount::PrintLoss(const std::string& process, const LossCounts& counts, std::uint64_t bytesNotDecoded) const {
    if (m_format == Format::Json) {
        m_output.Line(LossLine(m_cycle, process, counts, bytesNotDecoded));
    } else {
        PrintWarning("cycle " + std::to_string(m_cycle) + ", " + process +
                     ", lost: " + LossText(counts, bytesNotDecoded) + "; recorded " + std::to_string(counts.recorded) +
                     ", delivered " + std::to_string(counts.delivered));
    }
}

void RunAccount::AddCallback(unsigned short pid, Clock::time_point began) {
    Clock::duration& longest = m_rows[m_processes.NameOf(pid)].longestCallback;
    const Clock::duration span = Clock::now() - began;
    longest = std::max(longest, span);
    m_callbacks.Add(span);
}

void RunAccount::OnError(const IQxData::_HSScriptPtr&, unsigned long long, const IQxData::HSCall& call, QxStage,
                         const std::string&) {
    ++m_rows[m_processes.NameOf(call.pid)].eventsInError;
}

std::uint64_t RunAccount::History() const {
    return std::accumulate(m_rows.begin(), m_rows.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const auto& row) { return sum + row.second.history; });
}

std::uint64_t RunAccount::LostCalls() const {
    return std::accumulate(m_rows.begin(), m_rows.end(), std::uint64_t{0}, [](std::uint64_t sum, const auto& row) {
        const LossCounts& counts = row.second.counts;
        return sum + counts.overwritten + counts.refused + counts.dropped;
    });
}

void RunAccount::PrintHistory() const {
    const std::uint64_t calls = History();
    if (calls == 0 || !m_tellsHistory) return;
    PrintNote(Counted(calls, "call") + " from before the start raised no events; --history evaluates them");
}

void RunAccount::Print() const {
    if (m_format == Format::Json) {
        if (m_known || History() > 0) PrintJson();
        return;
    }
    if (m_known) PrintTable();
    PrintHistory();
}

void RunAccount::PrintTable() const {
    std::vector<std::vector<std::string>> cells(1);
    cells[0].emplace_back("process");
    for (const LossField& field : kLossFields) cells[0].emplace_back(field.text);
    for (const char* const title : {"bytes not decoded", "events in error", "longest callback"}) {
        cells[0].emplace_back(title);
    }
    for (const auto& [process, row] : m_rows) {
        std::vector<std::string>& line = cells.emplace_back();
        line.push_back(process.empty() ? "-" : Printable(process));
        const LossCounts counts = row.counts.Without(row.history);
        for (const LossField& field : kLossFields) line.push_back(std::to_string(counts.*field.value));
        line.push_back(std::to_string(row.bytesNotDecoded));
        line.push_back(std::to_string(row.eventsInError));
        line.push_back(ShownTime(row.longestCallback));
    }
    for (const std::string& line : TableLines(cells, TerminalWidth(STDERR_FILENO))) PrintNote(line);
}

void RunAccount::PrintJson() const {
    for (const auto& [process, row] : m_rows) {
        JsonLine line;
        line.BeginObject("total");
        line.AddText("process", process);
        if (m_known) AddLoss(line, row.counts.Without(row.history));
        line.Add("bytesNotDecoded", row.bytesNotDecoded);
        line.Add("eventsInError", row.eventsInError);
        line.Add("longestCallbackUs", std::chrono::duration_cast<Microseconds>(row.longestCallback).count());
        line.Add("history", row.history);
        line.EndObject();
        m_output.Line(std::move(line).Finish());
    }
}

}  // namespace qxlt
