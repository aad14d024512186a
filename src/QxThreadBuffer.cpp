#include "QxThreadBuffer.h"

#include <algorithm>
#include <climits>
#include <stdexcept>

#include "QxData.h"
#include "QxFormat.h"
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

bool IsDamaged(const QxData::CommonHeader& header) {
    if (header.tag == qxformat::kTimeMarker) return false;
    return header.tag == qxformat::kNoItem || header.tag > qxformat::kCompCallArg || header.size == 0;
}

// Copies an item's payload. When its size took more than one byte, the writer had put the payload in place for a
// one-byte size and moved it up: the last bytes then stand first.
void CopyPayload(const char* bytes, const QxData::CommonHeader& header, std::vector<char>& payload) {
    const std::uint32_t moved = header.length > 2 ? header.length - 2u : 0;
    if (moved > header.size) throw std::length_error("[QxThreadBuffer::Extract] payload shorter than its size's bytes");
    const char* const split = bytes + (header.size - moved);
    payload.assign(split, split + moved);
    payload.insert(payload.end(), bytes, split);
}

}  // namespace

int QxThreadBuffer::Parse(const char* data, unsigned int size, unsigned short prefixSize, QxParser* parser) {
    QxCursor cursor = parser->CursorAt(data, size, "QxThreadBuffer::Parse");
    const Fragment fragment = ReadFragment(cursor);
    if (prefixSize != 0 && prefixSize != fragment.usedSize) {
        // The fragment stands for the whole stream; only so much of it is valid.
        const char* const bytes = cursor.Range(0, prefixSize);
        parser->Budget().TakeJoined(prefixSize);
        m_CountRest(fragment.tid, 0, parser);
        m_counted.erase(fragment.tid);
        m_threads[fragment.tid].assign(bytes, bytes + prefixSize);
        return static_cast<int>(size);
    }
    const auto known = m_threads.find(fragment.tid);
    if (known != m_threads.end()) {
        // Without a stream the start of this item was never seen, and its end is dropped.
        const char* const tail = cursor.Range(0, fragment.tailSize);
        parser->Budget().TakeJoined(fragment.tailSize);
        known->second.insert(known->second.end(), tail, tail + fragment.tailSize);
    } else {
        parser->CountNotDecoded(fragment.tailSize);
    }
    // A tail longer than the fragment wraps the count, as it does on the writing side.
    const auto count = static_cast<unsigned short>(fragment.usedSize - fragment.tailSize);
    const char* const run = cursor.Range(fragment.tailSize, count);
    parser->Budget().TakeJoined(count);
    Stream& stream = m_threads[fragment.tid];
    if (fragment.tailSize < fragment.usedSize) {
        stream.insert(stream.end(), std::begin(qxformat::kRunMarker), std::end(qxformat::kRunMarker));
    }
    stream.insert(stream.end(), run, run + count);
    return static_cast<int>(size);
}

void QxThreadBuffer::Extract(QxParser* parser) {
    auto thread = m_threads.begin();
    std::size_t offset = 0;
    try {
        for (; thread != m_threads.end(); ++thread, offset = 0) {
            parser->Store().SetCurrentThread(thread->first);
            m_ExtractStream(thread->second, offset, parser);
            m_CountRest(thread->first, offset, parser);
        }
    } catch (...) {
        for (; thread != m_threads.end(); ++thread, offset = 0) m_CountRest(thread->first, offset, parser);
        for (const auto& [tid, stream] : m_threads) m_counted[tid] = stream.size();
        throw;
    }
    m_threads.clear();
    m_counted.clear();
}

// Counts what a stream holds past the offset at which its decoding ended, but for what was counted when an earlier dump
// ended in damage. A stream that was replaced meanwhile may be shorter.
void QxThreadBuffer::m_CountRest(unsigned short tid, std::size_t offset, QxParser* parser) const {
    const auto stream = m_threads.find(tid);
    if (stream == m_threads.end()) return;
    const auto counted = m_counted.find(tid);
    if (counted != m_counted.end()) offset = std::max(offset, counted->second);
    if (offset < stream->second.size()) parser->CountNotDecoded(stream->second.size() - offset);
}

// A compressed item inside the stream may append to it, or replace it, while it is decoded: its length is looked at
// anew for every item.
void QxThreadBuffer::m_ExtractStream(const Stream& stream, std::size_t& offset, QxParser* parser) {
    std::vector<char> payload;
    unsigned char tag = qxformat::kNoItem;
    while (offset < stream.size() && m_NextItem(stream, offset, payload, tag, parser)) {
        if (tag != qxformat::kNoItem) offset += static_cast<unsigned>(parser->ParseItem(tag, payload));
    }
}

// Reads the item at `offset` and moves past its header. A damaged one is passed over up to the next marker, giving
// kNoItem. False when the rest of the stream is to be abandoned.
bool QxThreadBuffer::m_NextItem(const Stream& stream, std::size_t& offset, std::vector<char>& payload,
                                unsigned char& tag, QxParser* parser) {
    QxCursor cursor(stream.data() + offset, stream.size() - offset, "QxThreadBuffer::Extract", &parser->Log());
    QxData::CommonHeader header;
    if (!QxData::TryCommonHeader(cursor, header)) {
        cursor.Print(Major, "[QxThreadBuffer::Extract] Stream ends inside an item header, offset: %u, size: %u",
                     static_cast<unsigned>(offset), static_cast<unsigned>(stream.size()));
        return false;
    }
    tag = qxformat::kNoItem;
    if (IsDamaged(header)) return m_FindNextRun(stream, offset, parser);
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

bool QxThreadBuffer::m_FindNextRun(const Stream& stream, std::size_t& offset, QxParser* parser) {
    unsigned int skipped = 0;
    const auto left = static_cast<unsigned>(std::min<std::size_t>(stream.size() - offset, UINT_MAX));
    if (FindNextItem(stream.data() + offset, &skipped, left) == 0) return false;
    parser->CountNotDecoded(skipped);
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
