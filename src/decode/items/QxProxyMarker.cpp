#include "QxProxyMarker.h"

#include "QxParser.h"

int QxProxyMarker::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxProxyMarker::Append", parser);
    cursor.Varint();
    if (!cursor.AtEnd()) cursor.Refuse(Major, "[QxProxyMarker::Append] Throwing Invalid Size..");
    return static_cast<int>(payload.size());
}
