// A short name for a text, that tells it from others: 64-bit FNV-1a, the public-domain hash of Fowler, Noll and Vo
// (http://www.isthe.com/chongo/tech/comp/fnv/). No protection against texts that are made to be alike.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qxlt {

class Digest final {
public:
    // Adds the bytes.
    void Add(std::string_view text) {
        for (const char byte : text) Add(static_cast<unsigned char>(byte));
    }

    // Adds the text as one piece: two pieces are not the same as both in one.
    void AddPiece(std::string_view text) {
        for (std::uint64_t size = text.size(), i = 0; i < 8; ++i, size >>= 8)
            Add(static_cast<unsigned char>(size & 255));
        Add(text);
    }

    std::uint64_t Value() const { return m_value; }

private:
    static constexpr std::uint64_t kBasis = 14695981039346656037U;
    static constexpr std::uint64_t kPrime = 1099511628211U;

    void Add(unsigned char byte) { m_value = (m_value ^ byte) * kPrime; }

    std::uint64_t m_value = kBasis;
};

// 16 hexadecimal digits.
std::string DigestText(std::uint64_t digest);

}  // namespace qxlt
