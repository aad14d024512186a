// Buffer decoder of the threads' streams. A stream arrives in fragments, which are joined per thread; Extract splits
// the joined streams into items, thread by thread.
#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "IQxBuffer.h"
#include "QxJoinedBytes.h"

class QxThreadBuffer final : public IQxBuffer {
public:
    // Appends one fragment to its thread's stream. The stream bytes may go on past `size`: only the dump's end stops
    // them. Returns `size`.
    int Parse(const char* data, unsigned int size, unsigned short prefixSize, QxParser* parser) override;

    // Decodes all streams in order of thread id, then forgets them. When an item decoder throws, all of them stay; what
    // is decoded again is charged to the dump that asks for it, before it is done.
    void Extract(QxParser* parser) override;

    // Finds the next run marker at or after `*offset` within the `size` bytes at `data`. Returns 1 and sets `*offset`
    // to it, or 0 and leaves `*offset`.
    static int FindNextItem(const char* data, unsigned int* offset, unsigned int size);

private:
    using Stream = QxJoinedBytes;

    static void ExtractStream(const Stream& stream, QxParser* parser);
    static bool NextItem(const Stream& stream, std::size_t& offset, std::vector<char>& payload, unsigned char& tag,
                         QxParser* parser);
    static bool FindNextRun(const Stream& stream, std::size_t& offset);

    std::map<unsigned short, Stream> m_threads;  // by thread id
};
