// A bounded reading position: the one way in which bytes of a dump are read. It knows its end and who is reading. A
// read that would cross the end moves nothing, prints one line that names the reader, and throws PERR_INVALID_SIZE.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

class IQxLines;

class QxCursor final {
public:
    // A size for callers who vouch that everything that the bytes claim is there.
    static constexpr std::size_t kTrusted = SIZE_MAX / 2;

    // Reads `size` bytes at `data`, which must outlive the cursor. `reader` is "Class::Method" for messages, a literal.
    // Messages go to `lines`, which must outlive the cursor as well.
    QxCursor(const char* data, std::size_t size, const char* reader, IQxLines& lines)
        : m_data(data), m_size(size), m_reader(reader), m_lines(&lines) {}

    std::size_t Offset() const { return m_offset; }
    std::size_t Size() const { return m_size; }
    std::size_t Left() const { return m_size - m_offset; }
    bool AtEnd() const { return m_offset == m_size; }

    // The next byte, without moving. Throws at the end.
    std::uint8_t Peek() const;

    std::uint8_t Byte() { return static_cast<std::uint8_t>(*Bytes(1)); }

    // 16 bits, little-endian.
    std::uint16_t Fixed16();

    // A variable-length integer: groups of 7 bits, least significant first, the high bit set on all bytes but the last.
    // Groups beyond the result's width are read and dropped.
    std::uint32_t Varint() { return ReadVarint<std::uint32_t>(); }
    std::uint16_t Varint16() { return static_cast<std::uint16_t>(Varint()); }
    std::uint64_t Varint64() { return ReadVarint<std::uint64_t>(); }

    // As Varint; when the end comes first: returns false, leaves the position, sets `value` to the groups that are
    // there, and prints nothing.
    bool TryVarint(std::uint32_t& value) { return ReadGroups(value); }

    // Moves past `count` bytes and returns them; valid as long as the cursor's bytes.
    const char* Bytes(std::size_t count) {
        Need(count);
        const char* const bytes = m_data + m_offset;
        m_offset += count;
        return bytes;
    }

    // `count` bytes that begin `skip` bytes after the position; moves nothing. No bytes are always there.
    const char* Range(std::size_t skip, std::size_t count) const;

    std::string Text(std::size_t count) { return std::string(Bytes(count), count); }

    // A varint length of 16 bits and that many bytes. When they are not there, prints `tooLong`, a format of two %u:
    // where the text would end, and the size of all bytes.
    std::string Text16(const char* tooLong);

    void Skip(std::size_t count) { Bytes(count); }

    // A cursor over the next `count` bytes, or those that are left if they are fewer. Moves nothing.
    QxCursor Narrow(std::size_t count, const char* reader) const;

    // Prints the line and throws PERR_INVALID_SIZE.
    [[noreturn]] void Refuse(int level, const char* format, ...) const __attribute__((format(printf, 3, 4)));

    // Prints the line.
    void Print(int level, const char* format, ...) const __attribute__((format(printf, 3, 4)));

private:
    void Need(std::size_t count) const {
        if (count > Left()) RefuseRead(m_offset, count);
    }
    [[noreturn]] void RefuseRead(std::size_t offset, std::size_t count) const;

    template <typename Value>
    Value ReadVarint() {
        Value value = 0;
        if (!ReadGroups(value)) RefuseRead(m_offset, Left() + 1);
        return value;
    }

    template <typename Value>
    bool ReadGroups(Value& value) {
        value = 0;
        unsigned shift = 0;
        for (std::size_t at = m_offset; at < m_size; ++at, shift += 7) {
            const auto byte = static_cast<std::uint8_t>(m_data[at]);
            if (shift < std::numeric_limits<Value>::digits) value |= static_cast<Value>(byte & 0x7Fu) << shift;
            if ((byte & 0x80u) == 0) {
                m_offset = at + 1;
                return true;
            }
        }
        return false;
    }

    const char* m_data;
    std::size_t m_size;
    std::size_t m_offset = 0;
    const char* m_reader;
    IQxLines* m_lines;
};
