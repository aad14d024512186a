// Names and values travel with every byte one less than its character.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// Appends `size` bytes at `pBuffer` to `out`, each plus one (modulo 256). Returns `size`, also for a null buffer, which
// is reported and appends nothing. Requires: the bytes are there.
unsigned ReadStringArg(const char* pBuffer, unsigned size, std::string& out);

namespace qxshifted {

// Writes as many of the bytes as make whole words, each byte plus one, and returns how many those are. All bytes of a
// word go at a time: the high bit of each is kept out of the sum, so that nothing is carried from byte to byte, and is
// put to it without a carry.
template <typename Word>
std::size_t WriteWords(const char* from, char* to, std::size_t size) {
    constexpr Word kOnes = static_cast<Word>(~Word{0}) / 0xFF;
    constexpr Word kHigh = kOnes << 7;
    std::size_t done = 0;
    for (; size - done >= sizeof(Word); done += sizeof(Word)) {
        Word word;
        std::memcpy(&word, from + done, sizeof word);
        word = ((word & ~kHigh) + kOnes) ^ (word & kHigh);
        std::memcpy(to + done, &word, sizeof word);
    }
    return done;
}

// Writes `size` bytes, each plus one; `from` and `to` may be the same.
inline void Write(const char* from, char* to, std::size_t size) {
    std::size_t done = WriteWords<std::uint64_t>(from, to, size);
    done += WriteWords<std::uint32_t>(from + done, to + done, size - done);
    for (; done < size; ++done) to[done] = static_cast<char>(static_cast<unsigned char>(from[done]) + 1);
}

}  // namespace qxshifted

// Writes the same bytes over all that `out` holds.
inline void AssignShifted(const char* bytes, std::size_t size, std::string& out) {
    if (out.size() != size) out.assign(bytes, size);
    qxshifted::Write(bytes, &out[0], size);
}
