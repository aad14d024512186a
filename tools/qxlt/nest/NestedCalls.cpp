#include "NestedCalls.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qxlt {

void NestedCalls::Add(NestedItem item) {
    m_newest = std::max({m_newest, item.times.time, item.times.exitTime});
    m_held.push_back(std::move(item));
}

void NestedCalls::Settle(std::uint64_t time) {
    HandOn(
        std::partition(m_held.begin(), m_held.end(), [time](const NestedItem& item) { return item.times.time < time; }),
        time);
    LeaveUntil(time);
}

void NestedCalls::Finish() {
    HandOn(m_held.end(), UINT64_MAX);
    LeaveUntil(UINT64_MAX);
}

// A mark about a call comes behind it.
void NestedCalls::HandOn(Items::iterator end, std::uint64_t time) {
    std::stable_sort(m_held.begin(), end, [](const NestedItem& left, const NestedItem& right) {
        if (left.times.time != right.times.time || left.kind == right.kind) return ComesBefore(left.times, right.times);
        return left.kind < right.kind;
    });
    const std::vector<CallNesting::Place> places = PlacesOf(end, time);
    auto place = places.begin();
    for (auto item = m_held.begin(); item != end; ++item, ++place) {
        LeaveUntil(item->times.time);
        m_sink.Enter(*item, *place);
        const bool leaves = item->kind == NestedItem::Kind::Call && item->times.exitTime != 0;
        if (leaves) m_open.push({*place, std::move(*item)});
    }
    m_held.erase(m_held.begin(), end);
}

// Whether a call holds others is known once the next one of its thread is placed. Of the last one that is not known
// when it goes on after that time; it is taken to do so.
std::vector<CallNesting::Place> NestedCalls::PlacesOf(Items::iterator end, std::uint64_t time) {
    std::vector<CallNesting::Place> places;
    std::map<CallThread, std::size_t> last;
    for (auto item = m_held.begin(); item != end; ++item) {
        CallNesting::Place place{0, item->times.time};
        if (item->kind == NestedItem::Kind::Call) {
            place = m_threads[item->thread].Enter(item->times.time, item->times.exitTime);
            const auto [before, isFirst] = last.try_emplace(item->thread, places.size());
            if (!isFirst) places[before->second].holds = place.depth > places[before->second].depth;
            before->second = places.size();
        }
        places.push_back(place);
    }
    for (const auto& [thread, index] : last) places[index].holds = places[index].end > time;
    return places;
}

void NestedCalls::LeaveUntil(std::uint64_t time) {
    for (; !m_open.empty() && m_open.top().place.end <= time; m_open.pop()) {
        m_sink.Leave(m_open.top().item, m_open.top().place);
    }
}

}  // namespace qxlt
