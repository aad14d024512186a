// Where the values of a call are written before the recorder takes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "qx/detail/format.h"

namespace qx {
namespace recorder {
namespace detail {

// What an encoder wrote. Fits into a register.
struct Written {
    std::uint32_t size;
    bool isOverflow;  // not all fitted
    bool isCut;       // a text or a list was cut to its limit
};

// Writes values into memory of the recorder's, never beyond its end.
class Encoder {
public:
    // Requires: kMaxPayload bytes at `begin`, which is not owned.
    explicit Encoder(unsigned char* begin) : m_begin(begin) {}

    void Put(const void* data, std::size_t size) noexcept {
        if (size > kMaxPayload - m_size) {
            m_overflow = true;
            return;
        }
        Copy(m_begin + m_size, static_cast<const unsigned char*>(data), size);
        m_size += size;
    }
    void PutByte(unsigned value) noexcept {
        const unsigned char byte = static_cast<unsigned char>(value);
        Put(&byte, 1);
    }
    // Least significant byte first.
    template <class T>
    void PutInteger(T value) noexcept {
        // Of what widening adds nothing is taken. NOLINTNEXTLINE(bugprone-signed-char-misuse)
        const std::uint64_t bits = static_cast<std::uint64_t>(value);
        unsigned char bytes[sizeof(T)];
        for (std::size_t i = 0; i < sizeof(T); ++i) bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
        Put(bytes, sizeof(T));
    }
    void PutVarint(std::size_t value) noexcept {
        for (; value > 0x7F; value >>= 7) PutByte(static_cast<unsigned>(value & 0x7F) | 0x80u);
        PutByte(static_cast<unsigned>(value));
    }
    void MarkCut() noexcept { m_cut = true; }

    Written Result() const { return {static_cast<std::uint32_t>(m_size), m_overflow, m_cut}; }

private:
    // Most runs are short. A compiler that knows how long they can be would copy them with an instruction for strings,
    // which takes as long to begin as all the rest of an entry.
    static void Copy(unsigned char* to, const unsigned char* from, std::size_t size) noexcept {
        constexpr std::size_t kStep = 8;
        constexpr std::size_t kShort = 128;
        if (size > kShort || __builtin_constant_p(size)) {
            if (size != 0) std::memcpy(to, from, size);
        } else if (size >= kStep) {
            for (std::size_t done = 0; done < size - kStep; done += kStep) std::memcpy(to + done, from + done, kStep);
            std::memcpy(to + size - kStep, from + size - kStep, kStep);
        } else {
            while (size-- != 0) to[size] = from[size];
        }
    }

    unsigned char* const m_begin;
    std::size_t m_size = 0;
    bool m_overflow = false;
    bool m_cut = false;
};

}  // namespace detail
}  // namespace recorder
}  // namespace qx
