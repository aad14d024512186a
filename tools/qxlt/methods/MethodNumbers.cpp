#include "MethodNumbers.h"

#include <algorithm>

namespace qxlt {

namespace {

constexpr unsigned kPercent = 99;

std::uint64_t Sum(std::uint64_t left, std::uint64_t right) {
    return left > UINT64_MAX - right ? UINT64_MAX : left + right;
}

}  // namespace

void CallingThreads::Add(std::uint64_t thread) {
    const auto place = std::lower_bound(m_threads.begin(), m_threads.end(), thread);
    if (place != m_threads.end() && *place == thread) return;
    m_more = m_more || m_threads.size() == kMost;
    if (!m_more) m_threads.insert(place, thread);
}

void CallingThreads::Add(const CallingThreads& other) {
    for (const std::uint64_t thread : other.m_threads) Add(thread);
    m_more = m_more || other.m_more;
}

void MethodNumbers::Add(const CallView& call, bool isError) {
    ++m_calls;
    if (isError) ++m_errors;
    m_threads.Add(call.maker.value_or(call.call.pid), call.call.tid);
    const std::optional<std::uint64_t> duration = DurationOf(call.call);
    if (duration) AddDuration(*duration);
}

void MethodNumbers::AddDuration(std::uint64_t duration) {
    ++m_timed;
    m_least = std::min(m_least, duration);
    m_greatest = std::max(m_greatest, duration);
    m_sum = Sum(m_sum, duration);
    m_durations.Add(duration);
}

void MethodNumbers::Add(const MethodNumbers& later) {
    m_calls += later.m_calls;
    m_errors += later.m_errors;
    m_timed += later.m_timed;
    m_least = std::min(m_least, later.m_least);
    m_greatest = std::max(m_greatest, later.m_greatest);
    m_sum = Sum(m_sum, later.m_sum);
    m_durations.Add(later.m_durations);
    m_threads.Add(later.m_threads);
}

void MethodNumbers::FillIn(MethodRow& row) const {
    row.calls = m_calls;
    row.errors = m_errors;
    row.threads = m_threads.Count();
    row.moreThreads = m_threads.More();
    row.timed = m_timed;
    if (m_timed == 0) return;
    row.least = m_least;
    row.mean = m_sum / m_timed;
    row.p99 = std::min(m_durations.Percentile(kPercent), m_greatest);
    row.greatest = m_greatest;
}

}  // namespace qxlt
