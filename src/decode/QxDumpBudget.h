// What one dump may make the tracker keep. Each dump starts with allowances in proportion to its size; whatever takes
// more than is left prints one line and throws PERR_INVALID_SIZE.
#pragma once

#include <cstddef>
#include <cstdint>

class QxDecodeLog;

class QxDumpBudget final {
public:
    // Starts without limits, for decoders that are used outside any dump. `log` must outlive the budget.
    explicit QxDumpBudget(QxDecodeLog& log) : m_log(log) {}

    // Sets the allowances for a dump of that many bytes.
    void BeginDump(std::size_t dumpSize);

    void TakeCall() { Take(m_calls, 1, "calls"); }
    void TakePairs(std::uint64_t count) { Take(m_pairs, count, "argument pairs"); }
    void TakeNameBytes(std::uint64_t count) { Take(m_nameBytes, count, "name bytes"); }
    // Bytes that are joined into streams, or decoded again.
    void TakeJoined(std::uint64_t bytes) { Take(m_joined, bytes, "joined stream bytes"); }

    // Memory that a call takes in the store, before it is taken.
    void TakeCallBytes(std::uint64_t cost) { Take(m_callBytes, cost, "bytes of calls"); }

    // Packets' headers beyond their usual length; see QxParser::Packet.
    void TakeHeader(std::uint64_t bytes) { Take(m_headers, bytes, "header bytes"); }

    // Bytes that may still be unpacked. What a dropped or corrupt item unpacked counts as well.
    std::uint64_t UnpackedLeft() const { return m_unpacked; }
    // Once refused, any number is: finding out that an item unpacks to too much takes work, and the dumps around the
    // refused one go on. What unpacks may hold streams and headers: it adds to their allowances.
    void TakeUnpacked(std::uint64_t bytes);

private:
    void Take(std::uint64_t& left, std::uint64_t count, const char* what) {
        if (count > left) Refuse(what);
        left -= count;
    }
    [[noreturn]] void Refuse(const char* what) const;

    // More than any dump can take, and still far from wrapping when something is added.
    static constexpr std::uint64_t kUnlimited = UINT64_MAX / 2;

    QxDecodeLog& m_log;
    std::uint64_t m_calls = kUnlimited;
    std::uint64_t m_pairs = kUnlimited;
    std::uint64_t m_nameBytes = kUnlimited;
    std::uint64_t m_joined = kUnlimited;
    std::uint64_t m_callBytes = kUnlimited;
    std::uint64_t m_headers = kUnlimited;
    std::uint64_t m_unpacked = kUnlimited;
    bool m_isUnpackedRefused = false;
};
