// The binary streams of a CTF 1.8 trace. The times of a stream never go back; what comes late goes into another one,
// and readers merge them.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace qxlt {

// A piece of a packet: numbers with the least significant byte first, and texts that end with a zero byte.
class CtfBytes final {
public:
    template <typename Number>
    CtfBytes& Add(Number number) {
        auto left = static_cast<std::uint64_t>(number);
        for (std::size_t i = 0; i < sizeof number; ++i, left >>= 8) m_bytes += static_cast<char>(left & 0xFF);
        return *this;
    }
    CtfBytes& Text(const std::string& text);
    CtfBytes& Raw(const std::string& bytes) {
        m_bytes += bytes;
        return *this;
    }
    const std::string& Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

class CtfStreams final {
public:
    // Streams become files "stream_0" and so on in the directory, which is there.
    explicit CtfStreams(std::string directory) : m_directory(std::move(directory)) {}

    // Adds an event: `body` is what follows its header.
    void Add(std::uint16_t event, std::uint64_t time, const std::string& body);

    // Writes what is not written yet. Throws a Failure (input wrong) when something could not be, now or before.
    void Finish();

private:
    // One packet is in the making, and written when it is large enough.
    struct Stream {
        std::string path;
        std::string events;
        std::uint64_t begin = 0;  // of the packet
        std::uint64_t end = 0;    // of the stream so far
        bool isNew = true;        // nothing is written yet
    };

    Stream& StreamFor(std::uint64_t time);
    void Flush(Stream& stream);

    const std::string m_directory;
    std::vector<Stream> m_streams;
    std::string m_unwritten;  // the first file that failed
};

}  // namespace qxlt
