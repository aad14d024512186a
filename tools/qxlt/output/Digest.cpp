#include "Digest.h"

namespace qxlt {

std::string DigestText(std::uint64_t digest) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text(16, '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, digest >>= 4) *digit = kDigits[digest & 15];
    return text;
}

}  // namespace qxlt
