#include "QxCompCallArg.h"

#include <utility>

#include "QxParser.h"

namespace {

std::string ReadShifted(QxCursor& cursor) {
    const std::uint16_t length = cursor.Varint16();
    std::string text;
    ReadStringArg(cursor.Bytes(length), length, text);
    return text;
}

// A text of length 0 makes no entry: the list becomes shorter than the count.
void ReadNames(QxCursor& cursor, unsigned count, std::vector<std::string>& names) {
    for (unsigned i = 0; i < count; ++i) {
        std::string name = ReadShifted(cursor);
        if (!name.empty()) names.push_back(std::move(name));
    }
}

}  // namespace

int QxCompCallArg::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxCompCallArg::Append", parser);
    IQxData::_HSCompArgDesc desc;
    const std::uint16_t count = cursor.Varint16();
    for (unsigned i = 0; i < count; ++i) desc.memberSizes.push_back(cursor.Varint());
    ReadNames(cursor, count, desc.memberTypes);
    ReadNames(cursor, count, desc.memberNames);
    std::string typeName = ReadShifted(cursor);
    desc.isContainer = cursor.Byte() != 0 ? 1 : 0;
    if (!cursor.AtEnd()) cursor.Refuse(Fatal, "QxCompCallArg, Append.. Throwing Invalid size..");
    parser->Store().AppendCompArgDesc(std::move(typeName), std::move(desc));
    return static_cast<int>(payload.size());
}
