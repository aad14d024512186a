#include "QxThreadStream.h"

#include <algorithm>

#include "QxDumpFormat.h"

namespace qxhost {

using namespace dumpformat;

namespace {

constexpr std::uint64_t kExitUnit = 1000;  // exits count thousands of the time unit

// A marker, tag, size, time and location take no more.
constexpr std::size_t kMaxEntryHead = 32;

// An item of a thread's stream. Readers take the first bytes of a payload from its end when the size needs more than
// one byte, as many as it needs more.
std::string EncodeItem(char tag, const std::string& payload) {
    std::string item(1, tag);
    AppendVarint(item, payload.size());
    const std::size_t moved = item.size() - 2;
    item.append(payload, moved, std::string::npos);
    item.append(payload, 0, moved);
    return item;
}

}  // namespace

void QxThreadStream::AddCall(std::uint32_t location, std::uint64_t time, const std::string& values,
                             std::uint64_t exitTime, const std::string& exitValues) {
    PutEntry(kBeforeCallItem, location, time, values);
    const std::uint64_t delta = (exitTime - m_base) / kExitUnit;
    m_base += delta * kExitUnit;
    std::string payload;
    AppendVarint(payload, delta);
    payload += exitValues;
    PutSpanning(EncodeItem(kAfterCallItem, payload));
}

void QxThreadStream::AddOpenCall(std::uint32_t location, std::uint64_t time, const std::string& values) {
    PutEntry(kBeforeCallItem, location, time, values);
}

void QxThreadStream::AddLog(std::uint32_t location, std::uint64_t time, const std::string& values) {
    PutEntry(kLogItem, location, time, values);
}

// An entry lies whole in one fragment, with room for a byte of its exit: a fragment that began between the two would
// start a new run, and the exit's time would lose its base.
void QxThreadStream::PutEntry(char tag, std::uint32_t location, std::uint64_t time, const std::string& values) {
    if (m_fragment.size() + kMaxEntryHead + values.size() >= kFragment && !m_fragment.empty()) EndFragment(0);
    if (time < m_base) {
        m_fragment += kTimeMarkerItem;
        m_fragment += '\0';
        m_base = 0;
    }
    std::string payload;
    AppendVarint(payload, time - m_base);
    AppendVarint(payload, location);
    payload += values;
    m_fragment += EncodeItem(tag, payload);
    m_base = time;
}

void QxThreadStream::PutSpanning(const std::string& item) {
    for (std::size_t done = 0; done < item.size();) {
        const std::size_t limit = m_fragment.size() < kFragment ? kFragment : kMaxFragment;
        const std::size_t part = std::min(item.size() - done, limit - m_fragment.size());
        m_fragment.append(item, done, part);
        done += part;
        if (done < item.size()) EndFragment(std::min(item.size() - done, kFragment));
    }
}

void QxThreadStream::EndFragment(std::size_t nextTail) {
    std::string buffer;
    AppendInteger(buffer, m_tid, 2);
    AppendVarint(buffer, m_tail);
    AppendVarint(buffer, m_fragment.size());
    buffer += m_fragment;
    AppendItem(m_packets, kThreadBuffer, buffer);
    m_fragment.clear();
    m_tail = nextTail;
    m_base = 0;
}

const std::string& QxThreadStream::Finish() {
    if (!m_fragment.empty()) EndFragment(0);
    return m_packets;
}

}  // namespace qxhost
