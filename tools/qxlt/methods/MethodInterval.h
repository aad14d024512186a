// What is shown of methods at a time: the numbers since they were shown last, and those since the beginning.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "MethodRow.h"

namespace qxlt {

// Rows, and how long a time they tell of; 0: that is not known.
struct MethodSpan {
    std::vector<MethodRow> rows;
    double seconds = 0;
};

struct ProcessCalls {
    std::string name;
    std::uint64_t calls = 0;            // in the interval
    std::optional<std::uint64_t> lost;  // since the beginning; nothing: it is not known
};

struct MethodInterval {
    std::uint64_t number = 0;  // 1 is the first
    MethodSpan last;           // with rows of methods that were called before, and not in the interval
    MethodSpan whole;
    std::vector<ProcessCalls> processes;
};

}  // namespace qxlt
