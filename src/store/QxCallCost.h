// About the bytes of memory that calls take, counted alike on systems of all widths. Lists grow by doubling: what
// stands in one counts with room for as much again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "IQxData.h"

namespace qxcost {

// A call without its arguments: its key and record, and the key among those of open calls.
constexpr std::uint64_t kCall = 192;
// An argument without its pairs.
constexpr std::uint64_t kArgument = 64;

constexpr std::uint64_t kPair = 128;
constexpr std::size_t kShortText = 15;  // the longest that takes no block of its own
constexpr std::uint64_t kBlock = 32;    // what a block takes besides its bytes

// A text besides the object that it stands in.
constexpr std::uint64_t OfText(std::size_t size) {
    return size <= kShortText ? 0 : size + kBlock;
}

// A pair of texts of those lengths. Short texts stand in the pair itself.
constexpr std::uint64_t OfPair(std::size_t nameSize, std::size_t valueSize) {
    return kPair + OfText(nameSize) + OfText(valueSize);
}

// A whole call, and an event that keeps a copy of it.
std::uint64_t Of(const IQxData::HSCall& call);
std::uint64_t OfEvent(const std::string& name, const std::string& value, const IQxData::HSCall& call);

}  // namespace qxcost
