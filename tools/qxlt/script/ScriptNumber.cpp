#include "ScriptNumber.h"

#include <cstdint>
#include <stdexcept>

#include "QxScriptWords.h"

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
        const int value = qxscript::ReadNumber(text, &end);
        return ScriptNumber{value, RestOf(text, end)};
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

std::optional<ScriptNumber> ReadIndex(const std::string& text) {
    try {
        std::size_t end = 0;
        const std::optional<std::uint32_t> value = qxscript::ReadIndex(text, &end);
        if (!value) return std::nullopt;
        return ScriptNumber{*value, RestOf(text, end)};
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

}  // namespace qxlt
