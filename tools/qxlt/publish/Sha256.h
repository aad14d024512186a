// SHA-256, as FIPS 180-4 has it, and the keyed hash of RFC 2104 with it: for names, of a few bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qxlt {

using Sha256Sum = std::array<std::uint8_t, 32>;

Sha256Sum Sha256(std::string_view bytes);

// Requires: the key has at most 64 bytes.
Sha256Sum HmacSha256(std::string_view key, std::string_view bytes);

}  // namespace qxlt
