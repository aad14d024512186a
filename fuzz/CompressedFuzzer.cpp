// Compressed dumps: the fuzz bytes are the inner dump, packed anew for every input, since mutating packed bytes only
// ever breaks the packing. A first byte says how often the packing is repeated, and in which of the two places where
// packed dumps stand: those of a compressed buffer are decoded one after the other, all others inside one another.
#include <boost/iostreams/device/back_inserter.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filtering_streambuf.hpp>

#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxFormat.h"

namespace {

using Bytes = std::vector<char>;

void AppendVarint(Bytes& bytes, std::size_t value) {
    for (; value >= 0x80; value >>= 7) bytes.push_back(static_cast<char>(value | 0x80));
    bytes.push_back(static_cast<char>(value));
}

void AppendBlock(Bytes& bytes, unsigned char tag, const Bytes& payload) {
    bytes.push_back(static_cast<char>(tag));
    AppendVarint(bytes, payload.size());
    bytes.insert(bytes.end(), payload.begin(), payload.end());
}

Bytes Pack(const Bytes& dump) {
    namespace io = boost::iostreams;
    Bytes packed;
    io::filtering_streambuf<io::output> chain;
    chain.push(io::bzip2_compressor(io::bzip2_params(1)));
    chain.push(io::back_inserter(packed));
    chain.sputn(dump.data(), static_cast<std::streamsize>(dump.size()));
    io::close(chain);
    return packed;
}

Bytes PackedItem(const Bytes& inner) {
    Bytes item;
    AppendBlock(item, qxformat::kCompressedItem, Pack(inner));
    return item;
}

Bytes WrapPersistent(const Bytes& inner) {
    Bytes dump;
    AppendBlock(dump, qxformat::kPersistentBuffer, PackedItem(inner));
    return dump;
}

// A dump of one compressed buffer, and an empty packet that makes it be decoded.
Bytes WrapCompressed(const Bytes& inner) {
    const Bytes items = PackedItem(inner);
    Bytes fragment;
    AppendVarint(fragment, 0);
    AppendVarint(fragment, items.size());
    fragment.insert(fragment.end(), items.begin(), items.end());
    Bytes dump;
    AppendBlock(dump, qxformat::kCompressedBuffer, fragment);
    AppendBlock(dump, qxformat::kPersistentBuffer, Bytes());
    return dump;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned how = input.Byte();
    unsigned levels = how % 11;
    Bytes dump = input.Block(32768);
    do {
        dump = how < 128 ? WrapCompressed(dump) : WrapPersistent(dump);
    } while (levels-- > 0);
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    QxParser parser(nullptr, nullptr);
    DecodeDump(parser, dump, store);
    DecodeDump(parser, input.Rest(), store);
    return 0;
}
