#include "SizeText.h"

#include <charconv>
#include <limits>
#include <utility>

namespace qxlt {

namespace {

constexpr std::pair<const char*, std::uint64_t> kUnits[] = {
    {"", 1},     {"B", 1},        {"kB", 1000},   {"KB", 1000},       {"k", 1000},
    {"K", 1000}, {"MB", 1000000}, {"M", 1000000}, {"GB", 1000000000}, {"G", 1000000000}};

}  // namespace

std::optional<std::uint64_t> ReadSize(const std::string& text) {
    std::uint64_t number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || number == 0) return std::nullopt;
    const std::string unit(end, last);
    for (const auto& [name, bytes] : kUnits) {
        if (unit != name) continue;
        if (number > std::numeric_limits<std::uint64_t>::max() / bytes) return std::nullopt;
        return number * bytes;
    }
    return std::nullopt;
}

std::string RequireSize(const std::string& text) {
    if (ReadSize(text)) return std::string();
    return "\"" + text + "\" is no size above 0; write bytes, or 500kB, 64MB, 2GB";
}

}  // namespace qxlt
