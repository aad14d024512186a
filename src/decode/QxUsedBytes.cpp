#include "QxUsedBytes.h"

#include <algorithm>
#include <bitset>
#include <utility>

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

void QxUsedBytes::EndRun() {
    const std::uint64_t end = m_run.at + std::exchange(m_runSize, 0);
    if (m_run.dump == 0) return;
    Dump& dump = m_dumps[m_run.dump - 1];
    for (std::uint64_t at = m_run.at; at < end;) {
        const std::uint64_t bit = at % kBitsPerWord;
        const std::uint64_t count = std::min(end - at, kBitsPerWord - bit);
        const std::uint64_t mask = Mask(bit, count);
        std::uint64_t& word = dump.words[static_cast<std::size_t>(at / kBitsPerWord)];
        dump.left -= std::bitset<kBitsPerWord>(mask & ~word).count();
        word |= mask;
        at += count;
    }
}
