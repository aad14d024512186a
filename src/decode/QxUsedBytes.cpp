#include "QxUsedBytes.h"

#include <algorithm>
#include <bitset>

namespace {

constexpr std::uint64_t kBitsPerWord = 64;

// `count` bits from bit `first` on; at least one, and no more than the word has.
std::uint64_t Mask(std::uint64_t first, std::uint64_t count) {
    return (~std::uint64_t{0} >> (kBitsPerWord - count)) << first;
}

}  // namespace

void QxUsedBytes::Extend(Dump& dump, std::size_t size) {
    const std::uint64_t end = dump.size + size;
    dump.words.resize(static_cast<std::size_t>((end + kBitsPerWord - 1) / kBitsPerWord));
    dump.size = end;
    dump.left += size;
}

QxOrigin QxUsedBytes::BeginDump(std::size_t size) {
    Dump dump;
    Extend(dump, size);
    m_dumps.push_back(std::move(dump));
    return {0, Dumps()};
}

QxOrigin QxUsedBytes::AddUnpacked(const QxOrigin& item, std::size_t size) {
    if (item.dump == 0 || size == 0) return {};
    Dump& dump = m_dumps[item.dump - 1];
    const auto known = dump.unpacked.find({item.at, size});
    if (known != dump.unpacked.end()) return {known->second, item.dump};
    const std::uint64_t at = dump.size;
    Extend(dump, size);
    dump.unpacked.emplace(Unpacked(item.at, size), at);
    return {at, item.dump};
}

void QxUsedBytes::Use(const QxOrigin& origin, std::uint64_t size) {
    if (origin.dump == 0) return;
    Dump& dump = m_dumps[origin.dump - 1];
    const std::uint64_t end = origin.at + size;
    for (std::uint64_t at = origin.at; at < end;) {
        const std::uint64_t bit = at % kBitsPerWord;
        const std::uint64_t count = std::min(end - at, kBitsPerWord - bit);
        const std::uint64_t mask = Mask(bit, count);
        std::uint64_t& word = dump.words[static_cast<std::size_t>(at / kBitsPerWord)];
        dump.left -= std::bitset<kBitsPerWord>(mask & ~word).count();
        word |= mask;
        at += count;
    }
}

void QxUsedBytes::Use(const QxOrigins& origins, std::size_t offset, std::size_t size) {
    while (size > 0) {
        const QxOrigins::Piece piece = origins.PieceAt(offset, size);
        if (piece.size == 0) return;
        Use(piece.origin, piece.size);
        offset += piece.size;
        size -= piece.size;
    }
}
