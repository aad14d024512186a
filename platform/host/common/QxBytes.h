// Byte strings with the varints and texts of the trace format: appending to them, and reading them within their bounds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace qxhost {

// Thrown when bytes of a recording are not what a recorder writes. Its text says what was found.
class QxDamage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Groups of 7 bits, the least significant first; bit 0x80 is set on all bytes but the last.
void AppendVarint(std::string& out, std::uint64_t value);

// The size as a varint, then the bytes.
void AppendText(std::string& out, const std::string& text);

// Least significant byte first.
void AppendInteger(std::string& out, std::uint64_t value, std::size_t size);

// Reads bytes front to back. Does not own them; throws QxDamage where a read would leave them.
class QxByteReader {
public:
    QxByteReader(const char* data, std::size_t size) : m_data(data), m_left(size) {}

    std::size_t Left() const { return m_left; }
    unsigned ReadByte();
    std::uint32_t ReadVarint();
    std::uint64_t ReadInteger(std::size_t size);
    std::string ReadText();

    // Passes over bytes.
    void Skip(std::size_t size);

private:
    const char* Take(std::size_t size);

    const char* m_data;
    std::size_t m_left;
};

}  // namespace qxhost
