// The common header, which frames packets and items alike: a tag, and the size of the payload that follows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "QxCursor.h"

struct QxFrame {
    std::uint8_t tag = 0;
    std::uint32_t size = 0;    // of the payload
    std::uint16_t length = 0;  // of the header itself; a longer one wraps

    // Throws PERR_INVALID_SIZE when the bytes end inside the header.
    static QxFrame Read(QxCursor& cursor) {
        const std::size_t start = cursor.Offset();
        QxFrame frame;
        frame.tag = cursor.Byte();
        frame.size = cursor.Varint();
        frame.length = static_cast<std::uint16_t>(cursor.Offset() - start);
        return frame;
    }

    // Returns false, printing nothing, when the bytes end inside the header.
    static bool TryRead(QxCursor& cursor, QxFrame& frame) {
        if (cursor.AtEnd()) return false;
        const std::size_t start = cursor.Offset();
        frame.tag = cursor.Byte();
        if (!cursor.TryVarint(frame.size)) return false;
        frame.length = static_cast<std::uint16_t>(cursor.Offset() - start);
        return true;
    }
};
