#include "QxThreadBuffer.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <stdexcept>

#include "QxData.h"
#include "QxFormat.h"
#include "QxFrame.h"
#include "QxParser.h"

namespace {

struct Fragment {
    unsigned short tid;
    unsigned short tailSize;  // stream bytes that finish an item begun in an earlier fragment
    unsigned short usedSize;  // stream bytes in all
};

Fragment ReadFragment(QxCursor& cursor) {
    Fragment fragment;
    fragment.tid = cursor.Fixed16();
    fragment.tailSize = cursor.Varint16();
    fragment.usedSize = cursor.Varint16();
    return fragment;
}

// Only time markers may be empty.
bool IsDamaged(const QxFrame& header, const QxParser& parser) {
    return !parser.KnowsItem(header.tag) || (header.size == 0 && header.tag != qxformat::kTimeMarker);
}

// Copies an item's payload. When its size took more than one byte, the writer had put the payload in place for a
// one-byte size and moved it up: the last bytes then stand first.
void CopyPayload(const char* bytes, const QxFrame& header, std::vector<char>& payload) {
    const std::uint32_t moved = header.length > 2 ? header.length - 2u : 0;
    if (moved > header.size) throw std::length_error("[QxThreadBuffer::Extract] payload shorter than its size's bytes");
    const char* const split = bytes + (header.size - moved);
    payload.resize(header.size);
    std::copy(bytes, split, std::copy(split, split + moved, payload.begin()));
}

}  // namespace

int QxThreadBuffer::Parse(const char* data, unsigned int size, unsigned short prefixSize, QxParser* parser) {
    QxCursor cursor = parser->CursorAt(data, size, "QxThreadBuffer::Parse");
    const Fragment fragment = ReadFragment(cursor);
    if (prefixSize != 0 && prefixSize != fragment.usedSize) {
        // The fragment stands for the whole stream; only so much of it is valid.
        const char* const bytes = cursor.Range(0, prefixSize);
        parser->Budget().TakeJoined(prefixSize);
        Stream& stream = m_threads[fragment.tid];
        stream.Clear();
        stream.Append(bytes, prefixSize, parser->OriginOf(bytes));
        parser->UseAround(data, size, cursor.Offset(), prefixSize);
        return static_cast<int>(size);
    }
    // Without a stream the start of the tail's item was never seen, and the tail is dropped.
    const std::size_t kept = m_threads.count(fragment.tid) == 0 ? 0 : fragment.tailSize;
    const char* const tail = cursor.Range(0, kept);
    // A tail longer than the fragment wraps the count, as it does on the writing side.
    const auto count = static_cast<unsigned short>(fragment.usedSize - fragment.tailSize);
    const char* const run = cursor.Range(fragment.tailSize, count);
    parser->Budget().TakeJoined(kept + count);
    Stream& stream = m_threads[fragment.tid];
    stream.Append(tail, kept, parser->OriginOf(tail));
    // No dump brought the marker.
    if (fragment.tailSize < fragment.usedSize) stream.Append(qxformat::kRunMarker, sizeof qxformat::kRunMarker, {});
    stream.Append(run, count, parser->OriginOf(run));
    parser->UseAround(data, size, cursor.Offset(), std::size_t{fragment.tailSize} + count);
    return static_cast<int>(size);
}

void QxThreadBuffer::Extract(QxParser* parser) {
    auto thread = m_threads.begin();
    try {
        for (; thread != m_threads.end(); ++thread) {
            parser->Budget().TakeJoined(thread->second.DecodedBefore());
            parser->Store().SetCurrentThread(thread->first);
            ExtractStream(thread->second, parser);
        }
    } catch (...) {
        const auto next = std::next(thread);
        for (auto stays = m_threads.begin(); stays != next; ++stays) stays->second.Stay();
        throw;
    }
    m_threads.clear();
}

// A compressed item inside the stream may append to it, or replace it, while it is decoded: its length is looked at
// anew for every item.
void QxThreadBuffer::ExtractStream(const Stream& stream, QxParser* parser) {
    std::vector<char> payload;
    unsigned char tag = qxformat::kNoItem;
    std::size_t offset = 0;
    std::size_t start = 0;
    while (offset < stream.size() && NextItem(stream, offset, payload, tag, parser)) {
        if (tag != qxformat::kNoItem) {
            offset += static_cast<unsigned>(parser->DecodeItem(tag, payload, stream.Origins(), start, offset - start));
        }
        start = offset;
    }
}

// Reads the item at `offset` and moves past its header. A damaged one is passed over up to the next marker, giving
// kNoItem. False when the rest of the stream is to be abandoned.
bool QxThreadBuffer::NextItem(const Stream& stream, std::size_t& offset, std::vector<char>& payload, unsigned char& tag,
                              QxParser* parser) {
    QxCursor cursor(stream.data() + offset, stream.size() - offset, "QxThreadBuffer::Extract", parser->Log());
    QxFrame header;
    if (!QxFrame::TryRead(cursor, header)) {
        cursor.Print(Major, "[QxThreadBuffer::Extract] Stream ends inside an item header, offset: %u, size: %u",
                     static_cast<unsigned>(offset), static_cast<unsigned>(stream.size()));
        return false;
    }
    tag = qxformat::kNoItem;
    if (IsDamaged(header, *parser)) return FindNextRun(stream, offset);
    // The cursor stands behind the header, so this also refuses items that are short by no more than their header.
    const std::size_t left = stream.size() - offset - header.length;
    if (header.size > left) {
        cursor.Print(Fatal, "[QxThreadBuffer::Extract] size not expected, size:%u, threadit->second.size():%u",
                     header.size, static_cast<unsigned>(stream.size()));
        return false;
    }
    // A header drawn out so far that its 16 bits wrap to nothing, of an item of nothing, would be read for ever.
    if (header.length == 0 && header.size == 0) {
        cursor.Refuse(Major, "[QxThreadBuffer::Extract] Item of no length, offset: %u, size: %u",
                      static_cast<unsigned>(offset), static_cast<unsigned>(stream.size()));
    }
    tag = header.tag;
    CopyPayload(stream.data() + offset + header.length, header, payload);
    offset += header.length;
    return true;
}

bool QxThreadBuffer::FindNextRun(const Stream& stream, std::size_t& offset) {
    unsigned int skipped = 0;
    const auto left = static_cast<unsigned>(std::min<std::size_t>(stream.size() - offset, UINT_MAX));
    if (FindNextItem(stream.data() + offset, &skipped, left) == 0) return false;
    offset += skipped;
    return true;
}

int QxThreadBuffer::FindNextItem(const char* data, unsigned int* offset, unsigned int size) {
    for (unsigned int at = *offset; at < size && size - at >= sizeof qxformat::kRunMarker; ++at) {
        if (data[at] == qxformat::kRunMarker[0] && data[at + 1] == qxformat::kRunMarker[1]) {
            *offset = at;
            return 1;
        }
    }
    return 0;
}
