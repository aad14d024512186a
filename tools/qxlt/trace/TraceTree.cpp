#include "TraceTree.h"

#include <algorithm>
#include <utility>

#include "CallValues.h"
#include "JsonLine.h"
#include "Text.h"
#include "TimeFormat.h"

namespace qxlt {

namespace {

constexpr std::size_t kTimeWidth = 11;
constexpr std::size_t kDurationWidth = 10;
constexpr std::size_t kIndent = 2;

std::string CallJson(const CallView& call) {
    JsonLine line;
    AddCall(line, call);
    return std::move(line).Finish();
}

std::string SecondsText(std::uint64_t ns) {
    constexpr std::uint64_t kMillion = 1000000;
    const std::uint64_t us = ns / 1000;
    return std::to_string(us / kMillion) + "." + std::to_string(kMillion + us % kMillion).substr(1);
}

// The name of a thread, or else its number.
std::string ThreadText(const NestedItem& item) {
    std::string process = ProcessText(item.thread.process, item.thread.pid);
    if (item.kind == NestedItem::Kind::Loss) return process;
    return process + " " + (item.threadName.empty() ? std::to_string(item.thread.tid) : Printable(item.threadName));
}

}  // namespace

std::optional<INestedWriter::Texts> TraceTree::Hold(const CallView& call) {
    if (m_choice.longerThan > 0 && DurationOf(call.call).value_or(0) <= m_choice.longerThan) return std::nullopt;
    if (!m_filter.ShowsCall(call)) return std::nullopt;
    if (m_format == Format::Json) return Texts{CallJson(call), ""};
    return Texts{EntryText(call), ExitText(call)};
}

std::string TraceTree::Hold(const DumpNews& loss) {
    std::optional<LossCounts> counts = loss.counts;
    if (counts) counts = counts->Without(loss.history);
    return m_format == Format::Json ? LossLine(loss.cycle, loss.process, counts, loss.bytesNotDecoded)
                                    : LossText(counts.value_or(LossCounts()), loss.bytesNotDecoded);
}

// Whether a call has a line for each of its ends.
bool TraceTree::IsOpened(const NestedItem& item, const CallNesting::Place& place) const {
    return item.times.exitTime != 0 && place.holds && place.depth + 1 < m_choice.depth;
}

void TraceTree::Enter(const NestedItem& item, const CallNesting::Place& place) {
    const bool isCall = item.kind == NestedItem::Kind::Call;
    if (place.depth >= m_choice.depth) return;
    if (isCall) ++m_calls;
    if (m_format == Format::Json) {
        if (!isCall && !m_choice.isLive) m_output.Line(item.entry);
        if (!isCall) return;
        JsonLine line;
        line.Add("depth", place.depth);
        line.AddJson("call", item.entry);
        return m_output.Line(std::move(line).Finish());
    }
    if (!isCall) return Print(item, item.times.time, "", m_output.Paint().Bold("~ lost: " + item.entry));
    const std::string text = std::string(place.depth * kIndent, ' ') + item.entry;
    if (IsOpened(item, place)) return Print(item, item.times.time, "", text + " {");
    const std::uint64_t began = item.times.time;
    const std::string duration =
        item.times.exitTime == 0 ? "-" : SpanText(std::max(item.times.exitTime, began) - began);
    Print(item, item.times.time, duration, text + item.exit);
}

// The duration is what was recorded, also of a call that is drawn shorter.
void TraceTree::Leave(const NestedItem& item, const CallNesting::Place& place) {
    if (m_format == Format::Json || !IsOpened(item, place)) return;
    const std::string duration = SpanText(item.times.exitTime - item.times.time);
    Print(item, place.end, duration, std::string(place.depth * kIndent, ' ') + "}" + item.exit);
}

void TraceTree::PrintHeader() {
    m_output.Line(m_output.Paint().Dim(RightAligned("TIME", kTimeWidth) + "  " +
                                       RightAligned("DURATION", kDurationWidth) + "  " + Pad("THREAD", m_threadWidth) +
                                       "  CALL"));
}

void TraceTree::Print(const NestedItem& item, std::uint64_t time, const std::string& duration,
                      const std::string& text) {
    const std::string thread = ThreadText(item);
    m_threadWidth = std::max(m_threadWidth, thread.size());
    if (!m_first) PrintHeader();
    if (!m_first) m_first = item.times.time;
    const std::string since = SecondsText(time - std::min(time, *m_first));
    m_output.Line(m_output.Paint().Dim(RightAligned(since, kTimeWidth)) + "  " +
                  m_output.Paint().Green(RightAligned(duration, kDurationWidth)) + "  " + Pad(thread, m_threadWidth) +
                  "  " + text);
}

}  // namespace qxlt
