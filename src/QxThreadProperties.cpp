#include "QxThreadProperties.h"

#include "QxData.h"
#include "QxParser.h"

int QxThreadProperties::Parse(const char* data, unsigned int size, unsigned short, QxParser* parser) {
    QxCursor cursor =
        parser->CursorAt(data, size, "QxThreadProperties::Parse").Narrow(size, "QxThreadProperties::Parse");
    parser->Store().SetCurrentThread(cursor.Fixed16());
    std::vector<char> payload;
    do {
        const QxData::CommonHeader header = QxData::ParseCommonHeader(cursor);
        const auto itemSize = static_cast<unsigned short>(header.size);
        if (itemSize > cursor.Left()) cursor.Refuse(Fatal, "QxThreadProperties::Parse excetpion");
        const char* const bytes = cursor.Bytes(itemSize);
        payload.assign(bytes, bytes + itemSize);
        parser->ParseItem(header.tag, payload);
    } while (cursor.Offset() < size);
    return static_cast<int>(cursor.Offset());
}
