// Sizes as they are written on the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qxlt {

// The bytes that "500kB", "64MB" or "2GB" stand for, with 1000 bytes to a kB; a number alone counts bytes. Nothing for
// other texts, for 0, and for what 64 bits have no room for.
std::optional<std::uint64_t> ReadSize(const std::string& text);

// What is wrong with a text that is no such size; empty: nothing is.
std::string RequireSize(const std::string& text);

}  // namespace qxlt
