#include "QxSpareCalls.h"

#include <algorithm>
#include <utility>

#include "QxCallCost.h"

void QxSpareCalls::Refill(Map& calls) {
    if (calls.empty()) m_records = {};
    ClearCalls();
    const std::size_t count = std::min(calls.size(), kMaxCalls);
    m_calls.reserve(count);
    for (std::size_t i = 0; i < count; ++i) Keep(calls.extract(calls.begin()));
}

void QxSpareCalls::Clear() {
    ClearCalls();
    m_records = {};
}

void QxSpareCalls::ClearCalls() {
    m_calls.clear();
    m_cost = 0;
    m_lists.clear();
}

void QxSpareCalls::Keep(Map::node_type node) {
    const std::uint64_t cost = qxcost::Of(node.mapped());
    if (cost > std::min(kMaxCallCost, kMaxCost - m_cost)) return;
    m_cost += cost;
    IQxData::HSCall::Args args = std::move(node.mapped().args);
    for (Arguments* const list : {&args.out, &args.ret}) {
        if (!list->empty()) m_lists.push_back(std::move(*list));
    }
    node.mapped() = {};
    node.mapped().args.in = std::move(args.in);
    m_calls.push_back(std::move(node));
}

QxSpareCalls::Map::node_type QxSpareCalls::Take() {
    if (m_calls.empty()) {
        Map one;
        one.try_emplace(0);
        return one.extract(one.begin());
    }
    Map::node_type node = std::move(m_calls.back());
    m_calls.pop_back();
    return node;
}

QxSpareCalls::Arguments QxSpareCalls::TakeList() {
    if (m_lists.empty()) return {};
    Arguments list = std::move(m_lists.back());
    m_lists.pop_back();
    return list;
}

std::vector<IQxData::HSCall> QxSpareCalls::TakeRecords() {
    return std::exchange(m_records, {});
}

void QxSpareCalls::KeepRecords(std::vector<IQxData::HSCall> records) {
    std::uint64_t total = 0;
    std::size_t kept = 0;
    for (; kept < std::min(records.size(), kMaxCalls); ++kept) {
        const std::uint64_t cost = qxcost::Of(records[kept]);
        if (cost > std::min(kMaxCallCost, kMaxCost - total)) break;
        total += cost;
    }
    records.resize(kept);
    if (kept < records.capacity() / 2) records.shrink_to_fit();
    m_records = std::move(records);
}
