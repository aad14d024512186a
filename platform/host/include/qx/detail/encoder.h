// Where the values of a call are written before the recorder takes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qx {
namespace recorder {
namespace detail {

// Writes values into memory of the recorder's, never beyond its end.
class Encoder {
public:
    Encoder() = default;
    Encoder(unsigned char* begin, std::size_t capacity) : m_begin(begin), m_capacity(capacity) {}

    void Put(const void* data, std::size_t size) noexcept {
        if (size > m_capacity - m_size) {
            m_overflow = true;
            return;
        }
        if (size != 0) std::memcpy(m_begin + m_size, data, size);
        m_size += size;
    }
    void PutByte(unsigned value) noexcept {
        const unsigned char byte = static_cast<unsigned char>(value);
        Put(&byte, 1);
    }
    // Least significant byte first.
    template <class T>
    void PutInteger(T value) noexcept {
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

    std::size_t Size() const { return m_size; }
    bool Overflow() const { return m_overflow; }
    bool Cut() const { return m_cut; }

private:
    unsigned char* m_begin = nullptr;  // not owned
    std::size_t m_capacity = 0;
    std::size_t m_size = 0;
    bool m_overflow = false;
    bool m_cut = false;
};

}  // namespace detail
}  // namespace recorder
}  // namespace qx
