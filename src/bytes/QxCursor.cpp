#include "QxCursor.h"

#include <algorithm>
#include <cstdarg>

#include "IQxLines.h"
#include "IQxLogTracker.h"
#include "QxError.h"

namespace {

// Sizes are printed as 32 bits, the width that they have in a dump.
unsigned int Shown(std::size_t size) {
    return static_cast<unsigned int>(size);
}

}  // namespace

void QxCursor::Print(int level, const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    m_lines->PrintV("Append", __LINE__, level, format, arguments);
    va_end(arguments);
}

void QxCursor::Refuse(int level, const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    m_lines->PrintV("Append", __LINE__, level, format, arguments);
    va_end(arguments);
    throw QxError::PERR_INVALID_SIZE;
}

void QxCursor::RefuseRead(std::size_t offset, std::size_t count) const {
    Refuse(Major, "[%s] Read past the end, offset: %u, bytes: %u, size: %u", m_reader, Shown(offset), Shown(count),
           Shown(m_size));
}

std::uint8_t QxCursor::Peek() const {
    Need(1);
    return static_cast<std::uint8_t>(m_data[m_offset]);
}

std::uint16_t QxCursor::Fixed16() {
    const char* const bytes = Bytes(2);
    const unsigned low = static_cast<std::uint8_t>(bytes[0]);
    const unsigned high = static_cast<std::uint8_t>(bytes[1]);
    return static_cast<std::uint16_t>(low | high << 8);
}

const char* QxCursor::Range(std::size_t skip, std::size_t count) const {
    if (count == 0) return m_data + m_offset;
    if (skip > Left() || count > Left() - skip) RefuseRead(m_offset + skip, count);
    return m_data + m_offset + skip;
}

std::string QxCursor::Text16(const char* tooLong) {
    const std::uint16_t length = Varint16();
    if (length > Left()) Refuse(Major, tooLong, Shown(m_offset + length), Shown(m_size));
    return Text(length);
}

QxCursor QxCursor::Narrow(std::size_t count, const char* reader) const {
    return {m_data + m_offset, std::min(count, Left()), reader, *m_lines};
}
