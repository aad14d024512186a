#include "QxThreadData.h"

#include "QxParser.h"

int QxThreadData::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxThreadData::Append", parser);
    const std::uint32_t length = cursor.Varint();
    if (length > cursor.Left()) {
        cursor.Refuse(Major, "[QxThreadData::Append] Invalid size+count: %u, payload.size: %u",
                      static_cast<unsigned>(cursor.Offset()) + length, static_cast<unsigned>(payload.size()));
    }
    IQxData& store = parser->Store();
    IQxData::HSIThread thread;
    thread.tid = store.GetCurrentThread();
    // The whole length was tested above, yet only its low 16 bits count.
    thread.name = cursor.Text(static_cast<std::uint16_t>(length));
    store.AppendThread(thread);
    return static_cast<int>(payload.size());
}
