#include "SizeText.h"

#include <charconv>
#include <system_error>
#include <utility>

namespace qxlt {

namespace {

constexpr std::pair<const char*, unsigned> kUnits[] = {{"", 0}, {"KB", 10}, {"MB", 20}, {"GB", 30}};

}  // namespace

std::optional<std::uint64_t> ReadSize(const std::string& text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || number == 0) return std::nullopt;
    const std::string unit(rest, end);
    for (const auto& [name, shift] : kUnits) {
        if (unit == name && number <= UINT64_MAX >> shift) return number << shift;
    }
    return std::nullopt;
}

std::string RequireSize(const std::string& text) {
    if (ReadSize(text)) return std::string();
    return "\"" + text + "\" is no size above 0; write bytes, or 512KB, 10MB, 1GB";
}

}  // namespace qxlt
