#include "QxThreadStream.h"

#include <algorithm>

#include "QxDumpFormat.h"

namespace qxhost {

using namespace dumpformat;

namespace {

constexpr std::uint64_t kExitUnit = 1000;  // exits count thousands of the time unit

// A marker, tag, size, time and location take no more.
constexpr std::size_t kMaxEntryHead = 32;

// Appends an item of a thread's stream. Readers take the first bytes of a payload from its end when the size needs more
// than one byte, as many as it needs more.
void AppendPayload(std::string& out, char tag, const std::string& payload) {
    const std::size_t start = out.size();
    out += tag;
    AppendVarint(out, payload.size());
    const std::size_t moved = out.size() - start - 2;
    out.append(payload, moved, std::string::npos);
    out.append(payload, 0, moved);
}

}  // namespace

void QxThreadStream::AddCall(std::uint32_t location, std::uint64_t time, const std::string& values,
                             std::uint64_t exitTime, const std::string& exitValues) {
    PutEntry(kBeforeCallItem, location, time, values);
    const std::uint64_t delta = (exitTime - m_base) / kExitUnit;
    m_base += delta * kExitUnit;
    m_payload.clear();
    AppendVarint(m_payload, delta);
    m_payload += exitValues;
    m_item.clear();
    AppendPayload(m_item, kAfterCallItem, m_payload);
    PutSpanning(m_item);
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
    m_payload.clear();
    AppendVarint(m_payload, time - m_base);
    AppendVarint(m_payload, location);
    m_payload += values;
    AppendPayload(m_fragment, tag, m_payload);
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
