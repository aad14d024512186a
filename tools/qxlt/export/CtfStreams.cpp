#include "CtfStreams.h"

#include <algorithm>
#include <utility>

#include "Failure.h"

namespace qxlt {

namespace {

constexpr std::uint32_t kMagic = 0xC1FC1FC1;
constexpr std::uint32_t kStreamId = 0;
constexpr std::size_t kFullPacket = 64 << 10;
constexpr std::size_t kHeaderSize = 2 * sizeof(std::uint32_t) + 4 * sizeof(std::uint64_t);

}  // namespace

CtfBytes& CtfBytes::Text(const std::string& text) {
    m_bytes.append(text, 0, text.find('\0'));
    m_bytes += '\0';
    return *this;
}

void CtfStreams::Add(std::uint16_t event, std::uint64_t time, const std::string& body) {
    Stream& stream = StreamFor(time);
    if (stream.events.empty()) stream.begin = time;
    stream.end = time;
    stream.events += CtfBytes().Add(event).Add(time).Raw(body).Bytes();
    if (stream.events.size() >= kFullPacket) Flush(stream);
}

// The first that has not gone beyond that time. Each of them has gone less far than the one before it: what goes into
// one had passed those before. Nearly everything is in the first one of all.
CtfStreams::Stream& CtfStreams::StreamFor(std::uint64_t time) {
    const auto found = std::partition_point(m_streams.begin(), m_streams.end(),
                                            [time](const Stream& stream) { return stream.end > time; });
    if (found != m_streams.end()) return *found;
    const std::string path = m_directory + "/stream_" + std::to_string(m_streams.size());
    m_streams.emplace_back().path = path;
    return m_streams.back();
}

// A file is open only while it is written: there may be more of them than a process may have open.
void CtfStreams::Flush(Stream& stream) {
    if (stream.events.empty()) return;
    const std::uint64_t bits = (kHeaderSize + stream.events.size()) * 8;
    const std::string packet = CtfBytes()
                                   .Add(kMagic)
                                   .Add(kStreamId)
                                   .Add(stream.begin)
                                   .Add(stream.end)
                                   .Add(bits)
                                   .Add(bits)
                                   .Raw(stream.events)
                                   .Bytes();
    std::ofstream file(stream.path, std::ios::binary | (stream.isNew ? std::ios::trunc : std::ios::app));
    file << packet;
    file.close();
    if (!file && m_unwritten.empty()) m_unwritten = stream.path;
    stream.isNew = false;
    stream.events.clear();
}

void CtfStreams::Finish() {
    for (Stream& stream : m_streams) Flush(stream);
    if (m_unwritten.empty()) return;
    throw Failure(kInputWrong, m_unwritten + ": not all could be written; make room and export again");
}

}  // namespace qxlt
