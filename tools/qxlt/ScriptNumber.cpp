#include "ScriptNumber.h"

#include <cstdint>
#include <stdexcept>

namespace qxlt {

namespace {

std::string RestOf(const std::string& text, std::size_t from) {
    const std::string rest = text.substr(from);
    return rest.find_first_not_of(" \t\r\n") == std::string::npos ? std::string() : rest;
}

}  // namespace

std::optional<ScriptNumber> ReadOperand(const std::string& text) {
    try {
        std::size_t end = 0;
        const int value = std::stoi(text, &end);
        return ScriptNumber{value, RestOf(text, end)};
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

// Indices have 32 bits, whatever the size of the conversion's result.
std::optional<ScriptNumber> ReadIndex(const std::string& text) {
    try {
        std::size_t end = 0;
        const long long value = std::stoll(text, &end);
        if (value > UINT32_MAX || value < -static_cast<long long>(UINT32_MAX)) return std::nullopt;
        return ScriptNumber{value, RestOf(text, end)};
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

}  // namespace qxlt
