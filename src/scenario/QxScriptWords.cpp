#include "QxScriptWords.h"

#include <stdexcept>

namespace qxscript {

std::optional<std::uint32_t> ReadIndex(const std::string& text, std::size_t* end) {
    const unsigned long value = std::stoul(text, end);
    const bool negative = text[text.find_first_not_of(" \t\n\v\f\r")] == '-';
    if ((negative ? 0ul - value : value) > UINT32_MAX) throw std::out_of_range("stoul");
    if (negative && value != 0) return std::nullopt;
    return static_cast<std::uint32_t>(value);
}

int ReadNumber(const std::string& text, std::size_t* end) {
    return std::stoi(text, end);
}

}  // namespace qxscript
