#include "QxXMLDefaults.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint64_t kAllowance = 1048576;
constexpr std::uint64_t kPerByte = 16;
constexpr std::uint64_t kTextCost = 32;  // of a name or value besides its characters

}  // namespace

QxXMLDefaults::QxXMLDefaults(int textSize)
    : m_left(kAllowance + static_cast<std::uint64_t>(std::max(textSize, 0)) * kPerByte) {}

bool QxXMLDefaults::Take(XML_Parser parser, const char** attributes) {
    // Those that were written come first; names and values count one each.
    for (attributes += XML_GetSpecifiedAttributeCount(parser); *attributes != nullptr; ++attributes) {
        const std::uint64_t cost = kTextCost + std::strlen(*attributes);
        if (cost > m_left) return false;
        m_left -= cost;
    }
    return true;
}
