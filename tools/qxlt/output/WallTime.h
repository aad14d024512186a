// Times as a calendar has them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qxlt {

// What is to be added to a time of the recordings' clock to get nanoseconds since 1970 (UTC); nothing where that is not
// known.
using ClockOffset = std::optional<std::int64_t>;

// A time of the recordings' clock on the wall clock; nothing where the offset is not known, and for a time that no
// calendar has: before 1970 or past 64 bits.
std::optional<std::uint64_t> WallTime(std::uint64_t time, ClockOffset offset);

// "2026-03-01T12:30:00.000000001Z": RFC 3339 with all nanoseconds, so that texts sort as times do.
std::string WallText(std::uint64_t wall);

// Reads such a text, with as many digits of the second's fraction as it has, up to nine; nothing for other texts, and
// for times that no 64 bits of nanoseconds have room for. Where the system has 32 bits its own times end in 2038.
std::optional<std::uint64_t> ReadWallText(const std::string& text);

}  // namespace qxlt
