#include "QxBytes.h"

namespace qxhost {

void AppendVarint(std::string& out, std::uint64_t value) {
    for (; value > 0x7F; value >>= 7) out += static_cast<char>((value & 0x7F) | 0x80);
    out += static_cast<char>(value);
}

void AppendText(std::string& out, const std::string& text) {
    AppendVarint(out, text.size());
    out += text;
}

void AppendInteger(std::string& out, std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) out += static_cast<char>(value >> (8 * i) & 0xFF);
}

const char* QxByteReader::Take(std::size_t size) {
    if (size > m_left) throw QxDamage("a value runs past the end of its record");
    const char* data = m_data;
    m_data += size;
    m_left -= size;
    return data;
}

unsigned QxByteReader::ReadByte() {
    return static_cast<unsigned char>(*Take(1));
}

std::uint32_t QxByteReader::ReadVarint() {
    std::uint32_t value = 0;
    for (unsigned shift = 0; shift < 32; shift += 7) {
        const unsigned byte = ReadByte();
        if (shift == 28 && byte > 0x0F) break;
        value |= (byte & 0x7Fu) << shift;
        if (byte < 0x80) return value;
    }
    throw QxDamage("a number is too long");
}

std::uint64_t QxByteReader::ReadInteger(std::size_t size) {
    const char* data = Take(size);
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value |= static_cast<std::uint64_t>(static_cast<unsigned char>(data[i])) << (8 * i);
    }
    return value;
}

std::string QxByteReader::ReadText() {
    const std::size_t size = ReadVarint();
    return std::string(Take(size), size);
}

void QxByteReader::Skip(std::size_t size) {
    Take(size);
}

}  // namespace qxhost
