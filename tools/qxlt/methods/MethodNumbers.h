// What calls of one method add up to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "CallView.h"
#include "DurationHistogram.h"
#include "MethodRow.h"

namespace qxlt {

// Which threads called, as far as they have been counted.
class CallingThreads final {
public:
    static constexpr std::size_t kMost = 256;

    // A thread, by the process that it belongs to.
    void Add(std::uint32_t process, std::uint16_t thread) { Add(std::uint64_t{process} << 16U | thread); }
    void Add(const CallingThreads& other);

    std::size_t Count() const { return m_threads.size(); }
    bool More() const { return m_more; }

private:
    void Add(std::uint64_t thread);

    std::vector<std::uint64_t> m_threads;  // in order
    bool m_more = false;                   // there were others
};

class MethodNumbers final {
public:
    void Add(const CallView& call, bool isError);
    void Add(const MethodNumbers& later);

    void FillIn(MethodRow& row) const;

private:
    void AddDuration(std::uint64_t duration);

    std::uint64_t m_calls = 0;
    std::uint64_t m_errors = 0;
    std::uint64_t m_timed = 0;
    std::uint64_t m_least = UINT64_MAX;
    std::uint64_t m_greatest = 0;
    std::uint64_t m_sum = 0;  // stands still at the most that it has room for, as damaged times may want more
    DurationHistogram m_durations;
    CallingThreads m_threads;
};

}  // namespace qxlt
