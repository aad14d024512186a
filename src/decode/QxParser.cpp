#include "QxParser.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <exception>

#include "QxAfterCall.h"
#include "QxBeforeCall.h"
#include "QxCallCost.h"
#include "QxCallLocation.h"
#include "QxCompCallArg.h"
#include "QxCompressedBuffer.h"
#include "QxCompressedItem.h"
#include "QxData.h"
#include "QxDebugPrint.h"
#include "QxFormat.h"
#include "QxHeader.h"
#include "QxIPCCaller.h"
#include "QxLogItem.h"
#include "QxPersistentBuffer.h"
#include "QxProxyMarker.h"
#include "QxScriptScenario.h"
#include "QxScriptSession.h"
#include "QxScriptWords.h"
#include "QxThreadBuffer.h"
#include "QxThreadData.h"
#include "QxThreadProperties.h"
#include "QxTimeMaker.h"
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

QxParser::QxParser(IQxLogTracker::Callback callback, void* context) : m_callback(callback), m_context(context) {
    m_MakeBuffers();
    m_MakeItems();
    m_scripts[qxscript::kScenario] = std::make_unique<QxScriptScenario>();
    m_scripts[qxscript::kSession] = std::make_unique<QxScriptSession>();
}

QxParser::~QxParser() = default;

void QxParser::m_MakeBuffers() {
    m_buffers[qxformat::kThreadBuffer] = std::make_unique<QxThreadBuffer>();
    m_buffers[qxformat::kPersistentBuffer] = std::make_unique<QxPersistentBuffer>();
    m_buffers[qxformat::kThreadProperties] = std::make_unique<QxThreadProperties>();
    m_buffers[qxformat::kCompressedBuffer] = std::make_unique<QxCompressedBuffer>();
}

void QxParser::m_MakeItems() {
    m_items[qxformat::kLogItem] = std::make_unique<QxLogItem>();
    m_items[qxformat::kBeforeCall] = std::make_unique<QxBeforeCall>();
    m_items[qxformat::kAfterCall] = std::make_unique<QxAfterCall>();
    m_items[qxformat::kCallLocation] = std::make_unique<QxCallLocation>();
    m_items[qxformat::kIPCCaller] = std::make_unique<QxIPCCaller>();
    m_items[qxformat::kThreadData] = std::make_unique<QxThreadData>();
    m_items[qxformat::kHeader] = std::make_unique<QxHeader>();
    m_items[qxformat::kProxyMarker] = std::make_unique<QxProxyMarker>();
    m_items[qxformat::kCompressedItem] = std::make_unique<QxCompressedItem>();
    m_items[qxformat::kCompCallArg] = std::make_unique<QxCompCallArg>();
    m_items[qxformat::kTimeMarker] = std::make_unique<QxTimeMaker>();
}

void QxParser::DropJoined() {
    m_MakeBuffers();
    m_lastBufferTag = 0;
}

int QxParser::Parse(std::pair<int, char*>& dump, std::shared_ptr<IQxData> data) {
    if (data) m_data = std::move(data);
    if (dump.first <= 0) return dump.first == 0 ? 1 : 0;
    const Restore<Bytes> restoreDump(m_dump);
    if (m_nesting == 0) m_BeginDump(static_cast<std::size_t>(dump.first));
    m_dump = {dump.second, dump.second + dump.first};
    try {
        return m_ParsePackets(dump);
    } catch (QxData::_PERR_TYPE error) {
        m_log.Print("Parse", __LINE__, Major, "Exception : %d", static_cast<int>(error));
        return 0;
    }
}

void QxParser::m_BeginDump(std::size_t size) {
    m_log.Begin();
    m_budget.BeginDump(size);
    m_stoppedAt = 0;
    m_dumpBytes += size;
    m_origin = m_used.BeginDump(size);
}

int QxParser::m_ParsePackets(const std::pair<int, char*>& dump) {
    const auto size = static_cast<std::uint64_t>(dump.first);
    std::uint64_t offset = 0;
    do {
        const int length = Packet(dump.second + offset);
        if (length <= 0) {
            m_log.Print("Parse", __LINE__, Major, "[QxParser::Parse] Packet of no length, offset: %u, size: %u",
                        static_cast<unsigned>(offset), static_cast<unsigned>(size));
            throw QxData::PERR_INVALID_SIZE;
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
    const QxData::CommonHeader header = QxData::ParseCommonHeader(cursor);
    // Prefix and header together count as 16 bits; a longer one (a varint may be drawn out at will) wraps.
    if (cursor.Offset() > UINT16_MAX) m_budget.TakeHeader(cursor.Offset());
    const auto headLength = static_cast<std::uint16_t>(cursor.Offset());
    const int used = Payload(header.tag, p + headLength, static_cast<int>(header.size), prefixSize);
    m_Use(p, headLength);
    // A size beyond what an int holds runs past the end of any dump; it must not wrap round to a place inside.
    const std::uint64_t length = std::uint64_t{headLength} + static_cast<unsigned>(used);
    return static_cast<int>(std::min<std::uint64_t>(length, INT_MAX));
}

int QxParser::Payload(unsigned char tag, const char* data, int size, unsigned short prefixSize) {
    if (m_lastBufferTag == qxformat::kCompressedBuffer && tag != qxformat::kCompressedBuffer) {
        m_buffers[qxformat::kCompressedBuffer]->Extract(this);
    }
    const auto found = m_buffers.find(tag);
    if (found == m_buffers.end()) {
        m_log.Print("Payload", __LINE__, Info, "QxParser::Payload throw PERR_INVALID_TAG, tag = [%X]", tag);
        throw QxData::PERR_INVALID_TAG;
    }
    m_lastBufferTag = tag;
    return found->second->Parse(data, static_cast<unsigned>(size), prefixSize, this);
}

int QxParser::ParseItem(unsigned char tag, std::vector<char>& payload) {
    const auto found = m_items.find(tag);
    if (found == m_items.end()) {
        m_log.Print("ParseItem", __LINE__, Info, "QxParser::ParseItem throw PERR_INVALID_TAG, tag = [%X]", tag);
        throw QxData::PERR_INVALID_TAG;
    }
    return found->second->Append(payload, this);
}

int QxParser::DecodeItem(unsigned char tag, std::vector<char>& payload, const QxOrigins& origins, std::size_t offset,
                         std::size_t headerLength) {
    const Restore<Item> restoreItem(m_item);
    m_item = {&origins, offset, headerLength + payload.size()};
    const int used = ParseItem(tag, payload);
    m_UseItem();
    return used;
}

int QxParser::Extract() {
    int result = 1;
    try {
        m_buffers[qxformat::kThreadBuffer]->Extract(this);
    } catch (QxData::_PERR_TYPE error) {
        QxDebugPrint::Write(DLOG_ERROR, "Extract", __LINE__, "Exception!!!");
        m_log.Print("Extract", __LINE__, Major, "Exception : %d", static_cast<int>(error));
        result = 0;
    }
    m_log.End();
    return result;
}

void QxParser::ParseNested(std::vector<char>& dump) {
    if (m_nesting == qxformat::kMaxNestedDumps) {
        m_log.Print("ParseNested", __LINE__, Major, "[QxParser::ParseNested] Compressed dumps nest deeper than %u",
                    qxformat::kMaxNestedDumps);
        throw QxData::PERR_INVALID_SIZE;
    }
    const Restore<unsigned> restoreNesting(m_nesting);
    const Restore<QxOrigin> restoreOrigin(m_origin);
    ++m_nesting;
    m_origin =
        m_item.origins == nullptr ? QxOrigin() : m_used.AddUnpacked(m_item.origins->At(m_item.offset), dump.size());
    // From here on the item counts with what it unpacked to.
    m_UseItem();
    std::pair<int, char*> bytes(static_cast<int>(dump.size()), dump.data());
    Parse(bytes, nullptr);
}

bool QxParser::Trace() {
    m_log.Begin();
    m_events.Begin(m_dumpBytes);
    const bool done = m_Trace();
    m_events.End();
    m_log.End();
    return done;
}

bool QxParser::m_Trace() {
    try {
        IQxData::_HSScript* slot = nullptr;
        if (m_data == nullptr || m_data->GetScript(&slot) == nullptr || *slot == nullptr) return false;
        const auto script = m_scripts.find((*slot)->name);
        if (script == m_scripts.end()) return false;
        script->second->Trace(this);
        return true;
    } catch (QxData::_PERR_TYPE error) {
        QxDebugPrint::GetInstance()->Print("Trace", __LINE__, Major, "Exception : %d", static_cast<int>(error));
        return false;
    }
}

// Looked at before the copy of the call is made.
void QxParser::KeepEvent(const std::string& name, const std::string& value, const IQxData::HSCall& call) {
    if (m_events.TryTake(qxcost::OfEvent(name, value, call))) Store().AppendEvent(name, value, call);
}

void QxParser::SendEvent(std::string name, std::string value, IQxData::HSCall call) {
    if (m_callback == nullptr) return;
    try {
        m_callback(name, std::move(value), std::move(call), m_context);
    } catch (const std::exception& error) {
        QxDebugPrint::GetInstance()->Print("SendEvent", __LINE__, Major,
                                           "[QxParser::SendEvent] Callback threw, event: %s, error: %s", name.c_str(),
                                           error.what());
    } catch (...) {
        QxDebugPrint::GetInstance()->Print("SendEvent", __LINE__, Major,
                                           "[QxParser::SendEvent] Callback threw, event: %s", name.c_str());
    }
}

IQxData& QxParser::Store() const {
    if (m_data != nullptr) return *m_data;
    QxDebugPrint::GetInstance()->Print("Store", __LINE__, Major, "[QxParser::Store] No data store was given to Parse");
    throw QxData::PERR_INVALID_SIZE;
}

bool QxParser::m_IsInDump(const char* p) const {
    return m_dump.first != nullptr && p >= m_dump.first && p <= m_dump.second;
}

QxOrigin QxParser::OriginOf(const char* p) const {
    if (!m_IsInDump(p) || m_origin.dump == 0) return {};
    return {m_origin.at + static_cast<std::uint64_t>(p - m_dump.first), m_origin.dump};
}

void QxParser::UseAround(const char* payload, std::size_t size, std::size_t offset, std::size_t count) {
    m_Use(payload, offset);
    // What is left out may go on past the end.
    const std::size_t end = m_IsInDump(payload) ? std::min(size, static_cast<std::size_t>(m_dump.second - payload)) : 0;
    const std::size_t behind = offset + count;
    if (behind < end) m_Use(payload + behind, end - behind);
}

void QxParser::m_Use(const char* p, std::uint64_t size) {
    const QxOrigin origin = OriginOf(p);
    if (origin.dump != 0) m_used.Use(origin, std::min(size, static_cast<std::uint64_t>(m_dump.second - p)));
}

void QxParser::m_UseItem() {
    if (m_item.origins != nullptr) m_used.Use(*m_item.origins, m_item.offset, m_item.size);
    DropItem();
}

QxCursor QxParser::CursorAt(const char* p, std::size_t size, const char* reader) {
    return {p, m_IsInDump(p) ? static_cast<std::size_t>(m_dump.second - p) : size, reader, &m_log};
}

QxCursor PayloadCursor(const std::vector<char>& payload, const char* reader, QxParser* parser) {
    return {payload.data(), payload.size(), reader, parser == nullptr ? nullptr : &parser->Log()};
}
