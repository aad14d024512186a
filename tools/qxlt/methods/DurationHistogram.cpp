#include "DurationHistogram.h"

#include <algorithm>

namespace qxlt {

namespace {

constexpr std::size_t kParts = DurationHistogram::kParts;

// Between 2 to the `shift` times kParts and twice as much, buckets are 2 to the `shift` wide.
std::size_t BucketOf(std::uint64_t duration) {
    std::uint64_t part = std::min(duration, DurationHistogram::kLongest);
    std::size_t first = 0;
    for (; part >= 2 * kParts; part >>= 1U) first += kParts;
    return first + static_cast<std::size_t>(part);
}

std::uint64_t LastOf(std::size_t bucket) {
    if (bucket < 2 * kParts) return bucket;
    const std::size_t shift = bucket / kParts - 1;
    const std::uint64_t last = ((bucket - shift * kParts + std::uint64_t{1}) << shift) - 1;
    return last == DurationHistogram::kLongest ? UINT64_MAX : last;
}

}  // namespace

void DurationHistogram::Add(std::uint64_t duration) {
    const std::size_t bucket = BucketOf(duration);
    if (bucket >= m_buckets.size()) m_buckets.resize(bucket + 1);
    ++m_buckets[bucket];
    ++m_count;
}

void DurationHistogram::Add(const DurationHistogram& other) {
    m_buckets.resize(std::max(m_buckets.size(), other.m_buckets.size()));
    for (std::size_t i = 0; i < other.m_buckets.size(); ++i) m_buckets[i] += other.m_buckets[i];
    m_count += other.m_count;
}

std::uint64_t DurationHistogram::Percentile(unsigned percent) const {
    const std::uint64_t above = 100 - percent;
    // So many may be longer, without the product that has no room.
    const std::uint64_t longer = m_count / 100 * above + m_count % 100 * above / 100;
    std::uint64_t left = m_count - longer;
    for (std::size_t i = 0; i < m_buckets.size(); ++i) {
        if (left <= m_buckets[i]) return LastOf(i);
        left -= m_buckets[i];
    }
    return 0;
}

}  // namespace qxlt
