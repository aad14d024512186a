#include "QxParser.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "QxDebugPrint.h"
#include "QxError.h"
#include "QxFormat.h"
#include "QxFrame.h"
#include "QxKinds.h"
#include "dlog.h"

namespace {

// Puts a variable back to what it was, also when an exception passes.
template <typename Value>
class Restore final {
public:
    explicit Restore(Value& variable) : m_variable(variable), m_value(variable) {}
    Restore(const Restore&) = delete;
    Restore& operator=(const Restore&) = delete;
    ~Restore() { m_variable = m_value; }

private:
    Value& m_variable;
    const Value m_value;
};

}  // namespace

QxParser::QxParser(IQxLogTracker::Callback callback, void* context)
    : m_buffers(qxkinds::MakeBuffers()),
      m_items(qxkinds::MakeItems()),
      m_scripts(qxkinds::MakeScripts()),
      m_events(callback, context) {}

QxParser::~QxParser() = default;

void QxParser::DropJoined() {
    m_buffers = qxkinds::MakeBuffers();
    m_lastBufferTag = 0;
}

int QxParser::Parse(std::pair<int, char*>& dump, std::shared_ptr<IQxData> data) {
    if (data) SetStore(std::move(data));
    if (dump.first <= 0) return dump.first == 0 ? 1 : 0;
    const Restore<Bytes> restoreDump(m_dump);
    if (m_nesting == 0) {
        const auto size = static_cast<std::size_t>(dump.first);
        BeginDump(size);
        m_dumpBytes += size;
        m_stoppedAt = 0;
    }
    m_dump = {dump.second, dump.second + dump.first};
    try {
        return ParsePackets(dump);
    } catch (QxError error) {
        Log().Print("Parse", __LINE__, Major, "Exception : %d", static_cast<int>(error));
        return 0;
    }
}

int QxParser::ParsePackets(const std::pair<int, char*>& dump) {
    const auto size = static_cast<std::uint64_t>(dump.first);
    std::uint64_t offset = 0;
    do {
        const int length = Packet(dump.second + offset);
        if (length <= 0) {
            Log().Print("Parse", __LINE__, Major, "[QxParser::Parse] Packet of no length, offset: %u, size: %u",
                        static_cast<unsigned>(offset), static_cast<unsigned>(size));
            throw QxError::PERR_INVALID_SIZE;
        }
        offset += static_cast<unsigned>(length);
        if (m_nesting == 0) m_stoppedAt = static_cast<std::size_t>(std::min(offset, size));
    } while (offset < size);
    return offset == size ? 1 : 0;
}

int QxParser::Packet(const char* p) {
    QxCursor cursor = CursorAt(p, QxCursor::kTrusted, "QxParser::Packet");
    unsigned short prefixSize = 0;
    if (cursor.Peek() == qxformat::kPrefixMarker) {
        cursor.Skip(1);
        prefixSize = cursor.Varint16();
    }
    const QxFrame header = QxFrame::Read(cursor);
    // Prefix and header together count as 16 bits; a longer one (a varint may be drawn out at will) wraps.
    if (cursor.Offset() > UINT16_MAX) Budget().TakeHeader(cursor.Offset());
    const auto headLength = static_cast<std::uint16_t>(cursor.Offset());
    const int used = Payload(header.tag, p + headLength, static_cast<int>(header.size), prefixSize);
    Use(p, headLength);
    // A size beyond what an int holds runs past the end of any dump; it must not wrap round to a place inside.
    const std::uint64_t length = std::uint64_t{headLength} + static_cast<unsigned>(used);
    return static_cast<int>(std::min<std::uint64_t>(length, INT_MAX));
}

int QxParser::Payload(unsigned char tag, const char* data, int size, unsigned short prefixSize) {
    if (m_lastBufferTag == qxformat::kCompressedBuffer && tag != qxformat::kCompressedBuffer) {
        m_buffers[qxformat::kCompressedBuffer]->Extract(this);
    }
    IQxBuffer* const buffer = m_buffers[tag].get();
    if (buffer == nullptr) {
        Log().Print("Payload", __LINE__, Info, "QxParser::Payload throw PERR_INVALID_TAG, tag = [%X]", tag);
        throw QxError::PERR_INVALID_TAG;
    }
    m_lastBufferTag = tag;
    return buffer->Parse(data, static_cast<unsigned>(size), prefixSize, this);
}

int QxParser::ParseItem(unsigned char tag, std::vector<char>& payload) {
    IQxItem* const item = m_items[tag].get();
    if (item == nullptr) {
        Log().Print("ParseItem", __LINE__, Info, "QxParser::ParseItem throw PERR_INVALID_TAG, tag = [%X]", tag);
        throw QxError::PERR_INVALID_TAG;
    }
    return item->Append(payload, this);
}

int QxParser::DecodeItem(unsigned char tag, std::vector<char>& payload, const QxOrigins& origins, std::size_t offset,
                         std::size_t headerLength) {
    const Restore<Item> restoreItem(m_item);
    m_item = {&origins, offset, headerLength + payload.size()};
    const int used = ParseItem(tag, payload);
    UseItem();
    return used;
}

int QxParser::Extract() {
    int result = 1;
    try {
        m_buffers[qxformat::kThreadBuffer]->Extract(this);
    } catch (QxError error) {
        QxDebugPrint::Write(DLOG_ERROR, "Extract", __LINE__, "Exception!!!");
        Log().Print("Extract", __LINE__, Major, "Exception : %d", static_cast<int>(error));
        result = 0;
    }
    Log().End();
    return result;
}

void QxParser::ParseNested(std::vector<char>& dump) {
    if (m_nesting == qxformat::kMaxNestedDumps) {
        Log().Print("ParseNested", __LINE__, Major, "[QxParser::ParseNested] Compressed dumps nest deeper than %u",
                    qxformat::kMaxNestedDumps);
        throw QxError::PERR_INVALID_SIZE;
    }
    const Restore<unsigned> restoreNesting(m_nesting);
    const Restore<QxOrigin> restoreOrigin(m_origin);
    ++m_nesting;
    m_origin = BeginUnpacked(dump.size());
    std::pair<int, char*> bytes(static_cast<int>(dump.size()), dump.data());
    Parse(bytes, nullptr);
}

bool QxParser::Trace() {
    Log().Begin();
    m_events.BeginPass(m_dumpBytes);
    const bool done = RunScript();
    m_events.EndPass();
    Log().End();
    return done;
}

bool QxParser::RunScript() {
    try {
        IQxData::_HSScript* slot = nullptr;
        if (Data() == nullptr || Data()->GetScript(&slot) == nullptr || *slot == nullptr) return false;
        const auto script = m_scripts.find((*slot)->name);
        if (script == m_scripts.end()) return false;
        script->second->Trace(this);
        return true;
    } catch (QxError error) {
        QxDebugPrint::GetInstance()->Print("Trace", __LINE__, Major, "Exception : %d", static_cast<int>(error));
        return false;
    }
}
