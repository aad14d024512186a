#include "QxDumpBudget.h"

#include "IQxLogTracker.h"
#include "QxData.h"
#include "QxDecodeLog.h"
#include "QxFormat.h"

void QxDumpBudget::BeginDump(std::size_t dumpSize) {
    const std::uint64_t size = dumpSize;
    m_calls = qxformat::kMaxCalls + size / qxformat::kBytesPerCall;
    m_pairs = qxformat::kMaxPairsOfDump + size * qxformat::kPairsPerByte;
    m_nameBytes = qxformat::kMaxNameBytes + size * qxformat::kNameBytesPerByte;
    m_joined = qxformat::kMaxJoinedBytes + size * qxformat::kJoinedPerByte;
    m_callBytes = qxformat::kMaxCallBytes + size * qxformat::kCallBytesPerByte;
    m_headers = qxformat::kMaxHeaderBytes + size;
    m_unpacked = qxformat::kMaxUnpackedBytes;
    m_isUnpackedRefused = false;
}

void QxDumpBudget::TakeUnpacked(std::uint64_t bytes) {
    m_isUnpackedRefused = m_isUnpackedRefused || bytes > m_unpacked;
    if (m_isUnpackedRefused) Refuse("unpacked bytes");
    m_unpacked -= bytes;
    m_joined += bytes;
    m_headers += bytes;
}

void QxDumpBudget::Refuse(const char* what) const {
    m_log.Print("Take", __LINE__, Major, "[QxDumpBudget::Take] The dump holds too many %s", what);
    throw QxData::PERR_INVALID_SIZE;
}
