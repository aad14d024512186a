// Which messages of one run of a device have come. They are numbered from 1 without gaps, so whatever stands between
// those that came is missing, or was dropped by the device itself.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace qxlt {

// A device counts no further: even a fast one takes some lifetimes to get there, and sums stay within 64 bits.
inline constexpr std::uint64_t kMostNumber = std::uint64_t{1} << 45;

struct NumberRange {
    std::uint64_t first;
    std::uint64_t last;
};

class RunNumbers final {
public:
    using Time = std::chrono::steady_clock::time_point;

    // How many ranges one run keeps. Beyond, the oldest is given up: it stays counted, and what comes from below its
    // end can no longer be told from a double.
    static constexpr std::size_t kMostGaps = 256;

    // Late: its gap was told. Unsure: it may be a double.
    enum class Arrival { New, Late, Double, Unsure };
    enum class Kind { Missing, Dropped };

    // A range of numbers that did not come.
    struct Gap {
        std::uint64_t last;
        Kind kind;
        bool told;
        Time since;  // it stood there
    };
    using Gaps = std::map<std::uint64_t, Gap>;  // by its first number

    // What is kept of a run that is known from before.
    struct Kept {
        std::uint64_t next = 1;
        std::uint64_t floor = 0;
        std::uint64_t lost = 0;
        Gaps gaps;
    };

    // `first` is the first number that counts, from 1: those before it were sent when nobody was there to receive, and
    // one that comes nevertheless may be a double.
    explicit RunNumbers(std::uint64_t first) : m_next(first), m_floor(first) {}
    explicit RunNumbers(const Kept& kept);

    // A message with that number has come. Requires: 1 <= number <= kMostNumber, as for all numbers below.
    Arrival Take(std::uint64_t number, Time now);

    // All messages up to that number should be here by now, or be on their way. Returns whether that was not known.
    bool Expect(std::uint64_t last, Time now);

    // The device has dropped these. Returns those of them that were not known as dropped, and have not come.
    std::vector<NumberRange> Drop(NumberRange range, Time now);

    // The gaps that stood there before that time and were not told so far; they count as told.
    std::vector<NumberRange> TellMissing(Time before);
    bool HasUntold() const { return m_untold > 0; }

    std::uint64_t Missing() const { return m_missing + m_lost; }
    std::uint64_t Dropped() const { return m_dropped; }
    Kept Keep() const { return {m_next, m_floor, m_lost, m_gaps}; }
    std::size_t GapCount() const { return m_gaps.size(); }

private:
    void Insert(NumberRange range, const Gap& gap);
    Gap Remove(Gaps::iterator gap);
    void Cut(Gaps::iterator gap, NumberRange range);
    void InsertDropped(NumberRange range, Time now);
    void Bound();
    std::uint64_t& CountOf(Kind kind) { return kind == Kind::Missing ? m_missing : m_dropped; }

    Gaps m_gaps;
    std::uint64_t m_next;      // one more than the highest that came or should have come
    std::uint64_t m_floor;     // below it gaps are not known
    std::uint64_t m_lost = 0;  // were missing in those that were given up
    std::uint64_t m_missing = 0;
    std::uint64_t m_dropped = 0;
    std::size_t m_untold = 0;  // gaps that are missing
};

}  // namespace qxlt
