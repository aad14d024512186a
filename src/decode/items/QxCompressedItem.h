// Item decoder of a compressed dump: unpacks a bzip2 stream and decodes the dump inside it with the same parser. A
// stream that cannot be unpacked drops the item.
#pragma once

#include "IQxItem.h"

class QxCompressedItem final : public IQxItem {
public:
    // Throws PERR_INVALID_SIZE when dumps nest too deep, or when one dump unpacks to too much.
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
