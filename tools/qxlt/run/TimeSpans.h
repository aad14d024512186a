// How long something takes that is done again and again.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace qxlt {

struct TimeSpans {
    using Span = std::chrono::nanoseconds;

    std::uint64_t count = 0;
    Span last{0};
    Span longest{0};
    Span total{0};

    void Add(Span span) {
        ++count;
        last = span;
        longest = std::max(longest, span);
        total += span;
    }
    Span Mean() const { return count == 0 ? Span(0) : total / static_cast<Span::rep>(count); }
};

}  // namespace qxlt
