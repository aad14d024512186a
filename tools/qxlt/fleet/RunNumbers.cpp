#include "RunNumbers.h"

#include <algorithm>
#include <iterator>

namespace qxlt {

namespace {

std::uint64_t SizeOf(NumberRange range) {
    return range.last - range.first + 1;
}

}  // namespace

// Where it was kept may have been damaged since: ranges that cannot be are left out.
RunNumbers::RunNumbers(const Kept& kept) : m_next(kept.next), m_floor(kept.floor), m_lost(kept.lost) {
    std::uint64_t end = 0;
    for (const auto& [first, gap] : kept.gaps) {
        if (first <= end || gap.last < first || gap.last >= m_next) continue;
        Insert({first, gap.last}, gap);
        end = gap.last;
    }
    Bound();
}

void RunNumbers::Insert(NumberRange range, const Gap& gap) {
    m_gaps.insert_or_assign(range.first, Gap{range.last, gap.kind, gap.told, gap.since});
    CountOf(gap.kind) += SizeOf(range);
    if (gap.kind == Kind::Missing && !gap.told) ++m_untold;
}

RunNumbers::Gap RunNumbers::Remove(Gaps::iterator gap) {
    const Gap removed = gap->second;
    CountOf(removed.kind) -= SizeOf({gap->first, removed.last});
    if (removed.kind == Kind::Missing && !removed.told) --m_untold;
    m_gaps.erase(gap);
    return removed;
}

// Takes the range, which lies within the gap, out of it.
void RunNumbers::Cut(Gaps::iterator gap, NumberRange range) {
    const std::uint64_t first = gap->first;
    const Gap whole = Remove(gap);
    if (first < range.first) Insert({first, range.first - 1}, whole);
    if (range.last < whole.last) Insert({range.last + 1, whole.last}, whole);
}

void RunNumbers::Bound() {
    while (m_gaps.size() > kMostGaps) {
        const NumberRange range = {m_gaps.begin()->first, m_gaps.begin()->second.last};
        const Gap gap = Remove(m_gaps.begin());
        if (gap.kind == Kind::Missing) m_lost += SizeOf(range);
        m_floor = range.last + 1;
    }
}

RunNumbers::Arrival RunNumbers::Take(std::uint64_t number, Time now) {
    if (number >= m_next) {
        if (number > m_next) Insert({m_next, number - 1}, {number - 1, Kind::Missing, false, now});
        m_next = number + 1;
        Bound();
        return Arrival::New;
    }
    auto gap = m_gaps.upper_bound(number);
    if (gap == m_gaps.begin() || (--gap)->second.last < number) {
        return number < m_floor ? Arrival::Unsure : Arrival::Double;
    }
    const bool wasTold = gap->second.told;
    Cut(gap, {number, number});
    Bound();
    return wasTold ? Arrival::Late : Arrival::New;
}

bool RunNumbers::Expect(std::uint64_t last, Time now) {
    if (last < m_next) return false;
    Insert({m_next, last}, {last, Kind::Missing, false, now});
    m_next = last + 1;
    Bound();
    return true;
}

// A device that drops goes on to do so: its ranges grow together.
void RunNumbers::InsertDropped(NumberRange range, Time now) {
    const auto next = m_gaps.lower_bound(range.first);
    const auto before = next == m_gaps.begin() ? m_gaps.end() : std::prev(next);
    if (before != m_gaps.end() && before->second.kind == Kind::Dropped && before->second.last + 1 == range.first) {
        range.first = before->first;
        Remove(before);
    }
    Insert(range, {range.last, Kind::Dropped, true, now});
}

std::vector<NumberRange> RunNumbers::Drop(NumberRange range, Time now) {
    Expect(range.last, now);
    std::vector<NumberRange> dropped;
    auto gap = m_gaps.upper_bound(range.first);
    if (gap != m_gaps.begin() && std::prev(gap)->second.last >= range.first) --gap;
    for (; gap != m_gaps.end() && gap->first <= range.last; ++gap) {
        if (gap->second.kind == Kind::Dropped) continue;
        dropped.push_back({std::max(gap->first, range.first), std::min(gap->second.last, range.last)});
    }
    for (const NumberRange& part : dropped) {
        Cut(std::prev(m_gaps.upper_bound(part.first)), part);
        InsertDropped(part, now);
    }
    Bound();
    return dropped;
}

std::vector<NumberRange> RunNumbers::TellMissing(Time before) {
    std::vector<NumberRange> told;
    if (m_untold == 0) return told;
    for (auto& [first, gap] : m_gaps) {
        if (gap.kind != Kind::Missing || gap.told || gap.since > before) continue;
        gap.told = true;
        --m_untold;
        told.push_back({first, gap.last});
    }
    return told;
}

}  // namespace qxlt
