#include "QxScriptWords.h"

#include <charconv>
#include <stdexcept>
#include <system_error>

namespace qxscript {

namespace {

// The number that is all of the text, written plainly, as nearly each is.
template <typename Number>
std::optional<Number> ReadPlain(const std::string& text, std::size_t* end) {
    Number number = 0;
    const char* const last = text.data() + text.size();
    const auto read = std::from_chars(text.data(), last, number);
    if (read.ec != std::errc() || read.ptr != last) return std::nullopt;
    if (end != nullptr) *end = text.size();
    return number;
}

}  // namespace

std::optional<std::uint32_t> ReadIndex(const std::string& text, std::size_t* end) {
    if (const std::optional<std::uint32_t> plain = ReadPlain<std::uint32_t>(text, end)) return plain;
    const unsigned long value = std::stoul(text, end);
    const bool negative = text[text.find_first_not_of(" \t\n\v\f\r")] == '-';
    if ((negative ? 0ul - value : value) > UINT32_MAX) throw std::out_of_range("stoul");
    if (negative && value != 0) return std::nullopt;
    return static_cast<std::uint32_t>(value);
}

int ReadNumber(const std::string& text, std::size_t* end) {
    const std::optional<int> plain = ReadPlain<int>(text, end);
    return plain ? *plain : std::stoi(text, end);
}

}  // namespace qxscript
