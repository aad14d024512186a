// Buffer decoder of compressed data: fragments of a run of items, joined until a packet of another kind follows.
#pragma once

#include <cstddef>
#include <vector>

#include "IQxBuffer.h"
#include "QxJoinedBytes.h"

class QxCompressedBuffer final : public IQxBuffer {
public:
    // Appends one fragment's items. They may go on past `size`: only the dump's end stops them. Returns `size`.
    int Parse(const char* data, unsigned int size, unsigned short prefixSize, QxParser* parser) override;

    // Decodes the joined items and forgets them. When an item decoder throws, they stay, to be decoded again from the
    // start; that is charged to the dump that asks for it, before it is done. Does nothing when it is called
    // by what one of its own items holds: the call that is running goes on over what was appended.
    void Extract(QxParser* parser) override;

private:
    void ExtractItems(QxParser* parser);
    bool NextItem(unsigned int& offset, std::vector<char>& payload, unsigned char& tag, QxParser* parser) const;

    QxJoinedBytes m_compressedBuffer;
    bool m_extracting = false;
};
