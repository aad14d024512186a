#include "QxHeader.h"

#include <string>
#include <utility>

#include "QxParser.h"

namespace {
constexpr std::size_t kExtraFieldSize = 8;
}

int QxHeader::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxHeader::Append", parser);
    const unsigned short pid = cursor.Fixed16();
    std::string process =
        cursor.Text16("[QxHeader::Append] Invalid size for process, size+offset: %u, payload.size: %u");
    std::string qxVersion =
        cursor.Text16("[QxHeader::Append] Invalid size for qxVersion, size+offset: %u, payload.size: %u");
    std::string swBuildString =
        cursor.Text16("[QxHeader::Append] Invalid size for swBuildString, size+offset: %u, payload.size: %u");
    std::string swVersionModel =
        cursor.Text16("[QxHeader::Append] Invalid size for swVersionModel, size+offset: %u, payload.size: %u");
    std::string extraField1 = cursor.Text(kExtraFieldSize);
    std::string extraField2 = cursor.Text(kExtraFieldSize);
    if (!cursor.AtEnd()) cursor.Refuse(Fatal, "Throwing Invalid size.. QxHeader Append");
    parser->Store().AppendHeader(pid, std::move(process), std::move(qxVersion), std::move(swBuildString),
                                 std::move(swVersionModel), std::move(extraField1), std::move(extraField2));
    return static_cast<int>(payload.size());
}
