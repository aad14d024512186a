#include "QxShiftedText.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"

namespace {

// All bytes of a word at a time: the high bit of each is kept out of the sum, so that nothing is carried from byte to
// byte, and is put to it without a carry. Returns how many bytes it took.
template <typename Word>
std::size_t CopyPlusOne(const char* from, char* to, std::size_t size) {
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

void Shift(const char* from, char* to, std::size_t size) {
    std::size_t done = CopyPlusOne<std::uint64_t>(from, to, size);
    done += CopyPlusOne<std::uint32_t>(from + done, to + done, size - done);
    for (; done < size; ++done) to[done] = static_cast<char>(static_cast<unsigned char>(from[done]) + 1);
}

}  // namespace

unsigned ReadStringArg(const char* pBuffer, unsigned size, std::string& out) {
    if (pBuffer == nullptr) {
        QxDebugPrint::GetInstance()->Print("ReadStringArg", __LINE__, Fatal, "[ReadStringArg] pBuffer is NULL");
        return size;
    }
    const std::size_t start = out.size();
    out.resize(start + size);
    Shift(pBuffer, &out[start], size);
    return size;
}

void AssignShifted(const char* bytes, std::size_t size, std::string& out) {
    if (out.size() != size) out.assign(bytes, size);
    Shift(bytes, &out[0], size);
}
