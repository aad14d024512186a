#include "stream.h"

#include <qx/recorder.h>

QX_TRACE_STRUCT(Quality, bitrate, codec)

void StreamPool::MakeCall(unsigned long n) {
    const unsigned long k = n / 4;
    m_nextHandle = static_cast<int>(k % 1000) + 1;
    m_chunkSize = k % 8;
    Quality quality{static_cast<std::uint16_t>(64u << k % 3), k % 2 == 1 ? "aac" : "mp3"};
    std::vector<unsigned char> chunk;
    switch (n % 4) {
        case 0:
            OpenStream(k % 5 == 4 ? "" : "http://radio.example/" + std::to_string(k % 10), quality);
            break;
        case 1:
            ReadStream(m_nextHandle, chunk);
            break;
        case 2:
            TuneStream(m_nextHandle, quality);
            break;
        default:
            CloseStream(m_nextHandle);
    }
}

int StreamPool::OpenStream(const std::string& url, const Quality& quality) {
    QX_CALL_RETURNS(call, int, "net", "OpenStream", qx::In(url), qx::In(quality));
    return call.Return(ProbeStream(url) ? m_nextHandle : -1);
}

bool StreamPool::ProbeStream(const std::string& url) {
    QX_CALL_RETURNS(call, bool, "net", "ProbeStream", qx::In(url));
    return call.Return(!url.empty());
}

std::uint64_t StreamPool::ReadStream(int handle, std::vector<unsigned char>& chunk) {
    QX_CALL_RETURNS(call, std::uint64_t, "net", "ReadStream", qx::In(handle), qx::Out(chunk));
    for (std::size_t i = 0; i < m_chunkSize; ++i) chunk.push_back(static_cast<unsigned char>(i));
    return call.Return(chunk.size());
}

void StreamPool::TuneStream(int handle, Quality& quality) {
    QX_CALL(call, "net", "TuneStream", qx::In(handle), qx::InOut(quality));
    quality.bitrate = static_cast<std::uint16_t>(quality.bitrate * 2);
}

bool StreamPool::CloseStream(int handle) {
    QX_CALL_RETURNS(call, bool, "net", "CloseStream", qx::In(handle));
    return call.Return(handle > 0);
}
