#include "QxIPCCaller.h"

#include "QxParser.h"

namespace {
constexpr std::size_t kFlagsSize = 2;
}

int QxIPCCaller::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxIPCCaller::Append", parser);
    cursor.Varint();
    cursor.Skip(kFlagsSize);
    cursor.Text16("[QxIPCCaller::Append] Invalid size+offset: %u, payload.size: %u");
    if (!cursor.AtEnd()) cursor.Refuse(Major, "[QxIPCCaller::Append] Throwing Invalid Size..");
    return static_cast<int>(payload.size());
}
