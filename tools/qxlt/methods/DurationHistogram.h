// How often calls took how long, in little memory, for percentiles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qxlt {

// The log-linear layout of HdrHistogram (http://hdrhistogram.org): between a power of two and the next one lie equally
// wide buckets, so that a bucket is never wider than one part in kParts of what it counts. The first ones are 1 wide.
class DurationHistogram final {
public:
    static constexpr std::uint64_t kParts = 32;

    // Durations from here on, 18 minutes in nanoseconds, share one bucket: there are 1,152 in all.
    static constexpr std::uint64_t kLongest = (std::uint64_t{1} << 40) - 1;

    void Add(std::uint64_t duration);
    void Add(const DurationHistogram& other);

    // What that many percent of the durations, rounded up, do not exceed: never less than that, and more by one part in
    // kParts at most. UINT64_MAX: kLongest or more, 0: there are no durations. Requires: up to 100.
    std::uint64_t Percentile(unsigned percent) const;

private:
    std::vector<std::uint64_t> m_buckets;  // up to the last that counts something
    std::uint64_t m_count = 0;
};

}  // namespace qxlt
