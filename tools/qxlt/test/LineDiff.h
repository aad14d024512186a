// How the lines that were expected and those that came stand side by side, as many as can be beside one that they
// match.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace qxlt {

// One step down the two columns, by the lines' places in them.
struct LineStep {
    enum class Kind { Same, Missing, Unexpected } kind;
    std::size_t expected;  // unless it is unexpected
    std::size_t actual;    // unless it is missing
};

// Whether the line that came at the second place matches the one that is expected at the first.
using LineMatch = std::function<bool(std::size_t expected, std::size_t actual)>;

// The steps past all lines of both columns, of that many lines each, in order.
std::vector<LineStep> Align(std::size_t expected, std::size_t actual, const LineMatch& matches);

}  // namespace qxlt
