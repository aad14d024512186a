#include "QxCompressedBuffer.h"

#include "QxData.h"
#include "QxFrame.h"
#include "QxParser.h"

int QxCompressedBuffer::Parse(const char* data, unsigned int size, unsigned short prefixSize, QxParser* parser) {
    QxCursor cursor = parser->CursorAt(data, size, "QxCompressedBuffer::Parse");
    const std::uint16_t tailSize = cursor.Varint16();
    const std::uint16_t usedSize = cursor.Varint16();
    const bool whole = !m_compressedBuffer.empty() || (prefixSize != 0 && prefixSize != usedSize);
    // Without anything joined before, the start of the tail's item was never received.
    const std::uint16_t skipped = whole ? std::uint16_t{0} : tailSize;
    const auto count = static_cast<std::uint16_t>(usedSize - skipped);
    const char* const bytes = cursor.Range(skipped, count);
    parser->Budget().TakeJoined(count);
    m_compressedBuffer.Append(bytes, count, parser->OriginOf(bytes));
    parser->UseAround(data, size, cursor.Offset(), std::size_t{skipped} + count);
    return static_cast<int>(size);
}

void QxCompressedBuffer::Extract(QxParser* parser) {
    if (m_extracting) return;
    if (m_compressedBuffer.DecodedBefore() > 0) {
        // A dump that may not decode the run again is refused; those that follow it must not find this buffer waiting.
        parser->ForgetLastBuffer();
        parser->Budget().TakeJoined(m_compressedBuffer.DecodedBefore());
    }
    m_extracting = true;
    try {
        ExtractItems(parser);
    } catch (...) {
        m_extracting = false;
        m_compressedBuffer.Stay();
        throw;
    }
    m_extracting = false;
    m_compressedBuffer.Clear();
}

void QxCompressedBuffer::ExtractItems(QxParser* parser) {
    std::vector<char> payload;
    unsigned char tag = 0;
    unsigned int offset = 0;
    unsigned int start = 0;
    while (offset < m_compressedBuffer.size() && NextItem(offset, payload, tag, parser)) {
        // The dump inside the item must not find this buffer waiting.
        parser->ForgetLastBuffer();
        offset += static_cast<unsigned>(
            parser->DecodeItem(tag, payload, m_compressedBuffer.Origins(), start, offset - start));
        start = offset;
    }
}

// Reads the item at `offset` and moves past its header; false when the run ends inside an item.
bool QxCompressedBuffer::NextItem(unsigned int& offset, std::vector<char>& payload, unsigned char& tag,
                                  QxParser* parser) const {
    const auto bufferSize = static_cast<unsigned>(m_compressedBuffer.size());
    QxCursor cursor(m_compressedBuffer.data() + offset, bufferSize - offset, "QxCompressedBuffer::Extract",
                    parser->Log());
    QxFrame header;
    if (!QxFrame::TryRead(cursor, header)) {
        cursor.Print(Major, "[QxCompressedBuffer::Extract] Data ends inside an item header, offset: %u, size: %u",
                     offset, bufferSize);
        return false;
    }
    // A header drawn out so far that its 16 bits wrap to nothing, of an item of nothing, would be read for ever.
    if (header.length == 0 && header.size == 0) {
        cursor.Refuse(Major, "[QxCompressedBuffer::Extract] Item of no length, offset: %u, size: %u", offset,
                      bufferSize);
    }
    offset += header.length;
    if (header.size > bufferSize - offset) {
        cursor.Print(Fatal,
                     "[QxCompressedBuffer::Extract] count + size not expected, count: %u, size:%u, "
                     "m_compressedBuffer.size():%u",
                     offset, header.size, bufferSize);
        return false;
    }
    tag = header.tag;
    const char* const bytes = m_compressedBuffer.data() + offset;
    payload.assign(bytes, bytes + header.size);
    return true;
}
