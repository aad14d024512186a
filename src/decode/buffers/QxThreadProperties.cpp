#include "QxThreadProperties.h"

#include "QxData.h"
#include "QxFrame.h"
#include "QxParser.h"

int QxThreadProperties::Parse(const char* data, unsigned int size, unsigned short, QxParser* parser) {
    QxCursor cursor =
        parser->CursorAt(data, size, "QxThreadProperties::Parse").Narrow(size, "QxThreadProperties::Parse");
    parser->Store().SetCurrentThread(cursor.Fixed16());
    const QxOrigins origins(parser->OriginOf(data), size);
    const std::size_t idLength = cursor.Offset();
    std::vector<char> payload;
    do {
        const std::size_t start = cursor.Offset();
        const QxFrame header = QxFrame::Read(cursor);
        const std::size_t headerLength = cursor.Offset() - start;
        const auto itemSize = static_cast<unsigned short>(header.size);
        if (itemSize > cursor.Left()) cursor.Refuse(Fatal, "QxThreadProperties::Parse excetpion");
        const char* const bytes = cursor.Bytes(itemSize);
        payload.assign(bytes, bytes + itemSize);
        parser->DecodeItem(header.tag, payload, origins, start, headerLength);
    } while (cursor.Offset() < size);
    parser->UseAround(data, size, idLength, size);
    return static_cast<int>(cursor.Offset());
}
