#include "QxDecodeContext.h"

#include <algorithm>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"
#include "QxError.h"

IQxData& QxDecodeContext::Store() const {
    if (m_data != nullptr) return *m_data;
    QxDebugPrint::GetInstance()->Print("Store", __LINE__, Major, "[QxParser::Store] No data store was given to Parse");
    throw QxError::PERR_INVALID_SIZE;
}

void QxDecodeContext::SetStore(std::shared_ptr<IQxData> data) {
    m_access = QxStoreAccess(*data);
    m_data = std::move(data);
}

void QxDecodeContext::BeginDump(std::size_t size) {
    m_log.Begin();
    m_budget.BeginDump(size);
    m_origin = m_used.BeginDump(size);
}

bool QxDecodeContext::IsInDump(const char* p) const {
    return m_dump.first != nullptr && p >= m_dump.first && p <= m_dump.second;
}

QxCursor QxDecodeContext::CursorAt(const char* p, std::size_t size, const char* reader) {
    return {p, IsInDump(p) ? static_cast<std::size_t>(m_dump.second - p) : size, reader, m_log};
}

QxOrigin QxDecodeContext::OriginOf(const char* p) const {
    if (!IsInDump(p) || m_origin.dump == 0) return {};
    return {m_origin.at + static_cast<std::uint64_t>(p - m_dump.first), m_origin.dump};
}

void QxDecodeContext::UseAround(const char* payload, std::size_t size, std::size_t offset, std::size_t count) {
    Use(payload, offset);
    // What is left out may go on past the end.
    const std::size_t end = IsInDump(payload) ? std::min(size, static_cast<std::size_t>(m_dump.second - payload)) : 0;
    const std::size_t behind = offset + count;
    if (behind < end) Use(payload + behind, end - behind);
}

void QxDecodeContext::Use(const char* p, std::uint64_t size) {
    const QxOrigin origin = OriginOf(p);
    if (origin.dump != 0) m_used.Use(origin, std::min(size, static_cast<std::uint64_t>(m_dump.second - p)));
}

QxOrigin QxDecodeContext::BeginUnpacked(std::size_t size) {
    const QxOrigin origin =
        m_item.origins == nullptr ? QxOrigin() : m_used.AddUnpacked(m_item.origins->At(m_item.offset), size);
    // From here on the item counts with what it unpacked to.
    UseItem();
    return origin;
}
