#include "QxPersistentBuffer.h"

#include "QxData.h"
#include "QxFormat.h"
#include "QxFrame.h"
#include "QxParser.h"

int QxPersistentBuffer::Parse(const char* data, unsigned int size, unsigned short, QxParser* parser) {
    QxCursor cursor =
        parser->CursorAt(data, size, "QxPersistentBuffer::Parse").Narrow(size, "QxPersistentBuffer::Parse");
    const QxOrigins origins(parser->OriginOf(data), size);
    std::vector<char> payload;
    // Up to the size that was claimed, not the bytes that are there: a claim beyond the dump's end is then reported.
    // The tag that ends the run has no size: it may be the last byte.
    while (cursor.Offset() < size && cursor.Peek() != qxformat::kNoItem) {
        const std::size_t start = cursor.Offset();
        const QxFrame header = QxFrame::Read(cursor);
        const std::size_t headerLength = cursor.Offset() - start;
        const char* const bytes = cursor.Bytes(header.size);
        payload.assign(bytes, bytes + header.size);
        parser->DecodeItem(header.tag, payload, origins, start, headerLength);
    }
    // What follows the tag that ends the run is nothing to decode.
    parser->UseAround(data, size, 0, cursor.Offset());
    return static_cast<int>(size);
}
