// The different values that came in one place, and how often each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "MethodRow.h"

namespace qxlt {

// Only the first kMost are kept: of a value that counts up there are as many as there are calls.
class DistinctValues final {
public:
    static constexpr std::size_t kMost = 64;

    // Longer ones count as what they begin with.
    static constexpr std::size_t kLongest = 200;

    // Takes the memory for a new value out of `bytesLeft`; without enough left it is not kept.
    void Add(const std::string& value, std::size_t& bytesLeft);

    // Fills in how many there were, and those that came most often.
    void FillIn(ValueRow& row) const;

private:
    std::unordered_map<std::string, std::uint64_t> m_counts;
    bool m_more = false;
};

}  // namespace qxlt
