// What differs between a run and what is expected of it, as lines for a person.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Colors.h"
#include "Comparison.h"

namespace qxlt {

// The first `most` of the differences: "- " before an event that is missing and "+ " before one that is not expected,
// each as `run` shows it and side by side when the second came in the place of the first, then what differs in them.
// They have `width` characters' room; 0: they are whole. Times are counted from the start where it is known.
std::vector<std::string> DifferenceLines(const std::vector<Difference>& differences, std::size_t most,
                                         std::optional<std::uint64_t> start, const Colors& paint, std::size_t width);

}  // namespace qxlt
