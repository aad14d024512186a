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

// A pair of texts of those lengths. Short texts stand in the pair itself.
std::uint64_t OfPair(std::size_t nameSize, std::size_t valueSize);

// A whole call, and an event that keeps a copy of it.
std::uint64_t Of(const IQxData::HSCall& call);
std::uint64_t OfEvent(const std::string& name, const std::string& value, const IQxData::HSCall& call);

}  // namespace qxcost
