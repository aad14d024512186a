#include "QxCompressedItem.h"

#include <algorithm>
#include <boost/iostreams/device/array.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filtering_streambuf.hpp>
#include <cstdint>

#include "QxFormat.h"
#include "QxParser.h"

namespace {

namespace io = boost::iostreams;

constexpr std::streamsize kPieceSize = 4096;

struct Unpacked {
    std::vector<char> bytes;
    bool whole = false;     // false: the bzip2 stream is damaged
    bool exceeded = false;  // more came out than `limit`; the bytes are cut there
};

// The decompressor is read from, not written into: a chain that is written into hands its rest to the decompressor once
// more when it is torn down, and libbz2 does not bear being called again after it found damage.
void Decompress(const std::vector<char>& payload, std::uint64_t limit, Unpacked& unpacked) {
    io::filtering_streambuf<io::input> chain;
    chain.push(io::bzip2_decompressor());
    chain.push(io::array_source(payload.data(), payload.size()));
    char piece[kPieceSize];
    for (;;) {
        const std::streamsize count = chain.sgetn(piece, kPieceSize);
        if (count <= 0) return;
        const auto size = static_cast<std::size_t>(count);
        unpacked.exceeded = size > limit - unpacked.bytes.size();
        if (unpacked.exceeded) return;
        unpacked.bytes.insert(unpacked.bytes.end(), piece, piece + size);
    }
}

}  // namespace

int QxCompressedItem::Append(std::vector<char>& payload, QxParser* parser) {
    Unpacked unpacked;
    parser->Budget().TakeUnpacked(0);  // refuses before any work when the allowance is known to be used up
    parser->Budget().TakeJoined(qxformat::kPackedItemBytes);
    const std::uint64_t limit = std::min(parser->Budget().UnpackedLeft(), qxformat::kMaxUnpackedBytes);
    try {
        Decompress(payload, limit, unpacked);
        unpacked.whole = !payload.empty();
    } catch (...) {
        // Whatever the decompressor throws drops the item; the message below says so.
        unpacked.whole = false;
    }
    std::uint64_t count = unpacked.bytes.size();
    if (!unpacked.whole) count = std::max(count, qxformat::kDamagedItemBytes);
    // One byte more than there is makes the budget refuse.
    parser->Budget().TakeUnpacked(unpacked.exceeded ? limit + 1 : count);
    if (unpacked.whole) {
        parser->ParseNested(unpacked.bytes);
    } else {
        parser->DropItem();
        parser->Log().Print("Append", __LINE__, Info, "boost::exception occurs !! IGNORE THIS PACKET");
    }
    return static_cast<int>(payload.size());
}
