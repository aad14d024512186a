#include "NestedRun.h"

#include <algorithm>
#include <utility>

namespace qxlt {

namespace {

// How long a call that has not returned is held back at most before it is delivered without its exit.
constexpr std::uint64_t kLongestOpenNs = 5'000'000'000;

}  // namespace

NestedItem NestedRun::ItemOf(const CallView& call) {
    NestedItem item;
    item.thread = {call.process, call.maker.value_or(call.call.pid), call.call.tid};
    item.threadName = call.thread;
    item.times = {call.call.time, call.call.exitTime, call.key.value_or(0)};
    return item;
}

void NestedRun::OnDump(const DumpNews& news) {
    m_history += news.history;
    if (news.counts) m_processes[news.process].open = news.counts->open;
    if (news.bytesNotDecoded == 0 && !(news.counts && news.counts->Any())) return;
    m_losses.push_back({news.process, m_writer.Hold(news)});
}

// What is left out counts as well: it has come.
void NestedRun::Note(const NestedItem& item) {
    Process& process = m_processes[item.thread.process];
    process.pid = item.thread.pid;
    if (item.times.time >= process.newest) process.firstNow = std::min(process.firstNow, item.times.time);
    process.newestNow = std::max({process.newestNow, item.times.time, item.times.exitTime});
}

void NestedRun::OnCall(const CallView& call) {
    NestedItem item = ItemOf(call);
    Note(item);
    std::optional<INestedWriter::Texts> texts = m_writer.Hold(call);
    if (!texts) return;
    item.entry = std::move(texts->entry);
    item.exit = std::move(texts->exit);
    m_calls.Add(std::move(item));
}

void NestedRun::OnEvent(const EventView& event) {
    NestedItem item = ItemOf(event.call);
    item.kind = NestedItem::Kind::Event;
    item.times.exitTime = 0;
    item.entry = m_writer.Hold(event);
    m_calls.Add(std::move(item));
}

void NestedRun::OnCycleEnd() {
    PlaceLosses();
    for (auto& [name, process] : m_processes) {
        process.newest = std::max(process.newest, process.newestNow);
        process.newestNow = 0;
        process.firstNow = UINT64_MAX;
    }
    Settle();
}

// When it was lost is not known: after what had come of the process by then, and most likely before the first that came
// since; or else before that.
void NestedRun::PlaceLosses() {
    for (Loss& loss : std::exchange(m_losses, {})) {
        const Process& process = m_processes[loss.process];
        NestedItem item;
        item.kind = NestedItem::Kind::Loss;
        item.thread = {loss.process, process.pid, 0};
        item.times.time = process.newest != 0 ? process.newest : process.firstNow;
        if (item.times.time == UINT64_MAX) item.times.time = m_calls.Newest();
        const bool isFollowed = process.firstNow != UINT64_MAX && process.firstNow > item.times.time;
        item.times.exitTime = isFollowed ? process.firstNow : 0;
        item.entry = std::move(loss.text);
        m_calls.Add(std::move(item));
    }
}

void NestedRun::Settle() {
    const bool someOpen = std::any_of(m_processes.begin(), m_processes.end(),
                                      [](const auto& process) { return process.second.open > 0; });
    if (!someOpen) return m_calls.Finish();
    m_calls.Settle(m_calls.Newest() - std::min(m_calls.Newest(), kLongestOpenNs));
}

void NestedRun::Finish() {
    PlaceLosses();
    m_calls.Finish();
}

}  // namespace qxlt
