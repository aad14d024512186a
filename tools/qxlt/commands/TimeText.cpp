#include "TimeText.h"

#include <cstdlib>
#include <utility>

namespace qxlt {

namespace {

constexpr std::pair<const char*, double> kUnits[] = {{"", 1},   {"us", 0.000001}, {"ms", 0.001}, {"s", 1},
                                                     {"m", 60}, {"h", 3600},      {"d", 86400}};

}  // namespace

// A number that is none fails the comparison, too.
std::optional<double> ReadSeconds(const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || !(number > 0)) return std::nullopt;
    const std::string unit = text.substr(static_cast<std::size_t>(end - text.c_str()));
    for (const auto& [name, seconds] : kUnits) {
        if (unit == name) return number * seconds;
    }
    return std::nullopt;
}

std::string RequireLength(const std::string& text) {
    if (ReadSeconds(text)) return std::string();
    return "\"" + text + "\" is no time above 0; write seconds, or 20us, 500ms, 10s, 2m, 1h";
}

}  // namespace qxlt
