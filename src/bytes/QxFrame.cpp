#include "QxFrame.h"

QxFrame QxFrame::Read(QxCursor& cursor) {
    const std::size_t start = cursor.Offset();
    QxFrame frame;
    frame.tag = cursor.Byte();
    frame.size = cursor.Varint();
    frame.length = static_cast<std::uint16_t>(cursor.Offset() - start);
    return frame;
}

bool QxFrame::TryRead(QxCursor& cursor, QxFrame& frame) {
    if (cursor.AtEnd()) return false;
    const std::size_t start = cursor.Offset();
    frame.tag = cursor.Byte();
    if (!cursor.TryVarint(frame.size)) return false;
    frame.length = static_cast<std::uint16_t>(cursor.Offset() - start);
    return true;
}
