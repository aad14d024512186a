#include "QxCallLocation.h"

#include "QxParser.h"

namespace {

void ReadArguments(QxCursor& cursor, IQxData::_HSCallLocation& location) {
    const std::uint16_t count = cursor.Varint16();
    for (unsigned i = 0; i < count; ++i) location.args.argFlags.push_back(cursor.Byte());
    for (unsigned i = 0; i < count; ++i) location.args.argSize.push_back(cursor.Varint());
    for (unsigned i = 0; i < count; ++i) {
        location.args.argType.push_back(cursor.Text16(
            "[QxCallLocation::Append] Invalid size for argType,  argTypeSize+offset: %u, payload.size: %u"));
    }
}

}  // namespace

int QxCallLocation::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxCallLocation::Append", parser);
    IQxData::_HSCallLocation location;
    location.srcCodeAux = cursor.Varint();
    location.srcCodeFileRaw =
        cursor.Text16("[QxCallLocation::Append] Invalid size for srcCodeFileRaw, size+offset: %u, payload.size: %u");
    location.locId = cursor.Varint();
    ReadArguments(cursor, location);
    location.args.retType =
        cursor.Text16("[QxCallLocation::Append] Invalid size for args.retType, size+offset: %u, payload.size: %u");
    location.args.retSize = cursor.Varint();
    location.callerName =
        cursor.Text16("[QxCallLocation::Append] Invalid size for callerName, size+offset: %u, payload.size: %u");
    location.packageName =
        cursor.Text16("[QxCallLocation::Append] Invalid size for packageName, size+offset: %u, payload.size: %u");
    if (!cursor.AtEnd()) cursor.Refuse(Major, "[QxCallLocation::Append] Throwing Invalid Size..");
    parser->Store().AppendCallLocation(location);
    return static_cast<int>(payload.size());
}
