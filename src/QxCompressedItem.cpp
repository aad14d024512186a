#include "QxCompressedItem.h"

#include <algorithm>
#include <boost/iostreams/concepts.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filtering_streambuf.hpp>
#include <cstdint>
#include <stdexcept>

#include "QxFormat.h"
#include "QxParser.h"

namespace {

namespace io = boost::iostreams;

struct Unpacked {
    std::vector<char> bytes;
    std::uint64_t limit = 0;
    bool exceeded = false;
};

// Gathers what the decompressor gives out, up to the limit.
class LimitedSink final : public io::sink {
public:
    explicit LimitedSink(Unpacked& unpacked) : m_unpacked(&unpacked) {}

    std::streamsize write(const char* bytes, std::streamsize count) {
        if (static_cast<std::uint64_t>(count) > m_unpacked->limit - m_unpacked->bytes.size()) {
            m_unpacked->exceeded = true;
            throw std::runtime_error("bzip2 stream unpacks to too much");
        }
        m_unpacked->bytes.insert(m_unpacked->bytes.end(), bytes, bytes + count);
        return count;
    }

private:
    Unpacked* m_unpacked;
};

void Decompress(const std::vector<char>& payload, Unpacked& unpacked) {
    io::filtering_streambuf<io::output> chain;
    chain.push(io::bzip2_decompressor());
    chain.push(LimitedSink(unpacked));
    const auto size = static_cast<std::streamsize>(payload.size());
    std::streamsize written = 0;
    while (written < size) {
        const std::streamsize accepted = chain.sputn(payload.data() + written, size - written);
        if (accepted <= 0) throw std::runtime_error("bzip2 stream is not accepted");
        written += accepted;
    }
    io::close(chain);
}

}  // namespace

int QxCompressedItem::Append(std::vector<char>& payload, QxParser* parser) {
    Unpacked unpacked;
    unpacked.limit = std::min(parser->Budget().UnpackedLeft(), qxformat::kMaxUnpackedBytes);
    bool whole = true;
    try {
        Decompress(payload, unpacked);
    } catch (...) {
        whole = false;
    }
    // One byte more than the limit makes the budget refuse.
    parser->Budget().TakeUnpacked(unpacked.exceeded ? unpacked.limit + 1 : unpacked.bytes.size());
    if (whole) {
        parser->ParseNested(unpacked.bytes);
    } else {
        parser->Log().Print("Append", __LINE__, Info, "boost::exception occurs !! IGNORE THIS PACKET");
    }
    return static_cast<int>(payload.size());
}
