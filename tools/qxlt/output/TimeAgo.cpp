#include "TimeAgo.h"

namespace qxlt {

namespace {

constexpr std::uint64_t kSecondNs = 1000000000;

struct Unit {
    std::uint64_t seconds;
    std::uint64_t until;  // in this unit; beyond, the next one reads better
    const char* name;
};
constexpr Unit kUnits[] = {{1, 120, " s"}, {60, 120, " min"}, {3600, 48, " h"}};

// With one digit behind the point.
std::string Tenths(std::uint64_t tenths) {
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

}  // namespace

std::string AgoText(std::uint64_t ns) {
    if (ns < 10 * kSecondNs) return Tenths(ns / (kSecondNs / 10)) + " s ago";
    for (const Unit& unit : kUnits) {
        const std::uint64_t count = ns / kSecondNs / unit.seconds;
        if (count < unit.until) return std::to_string(count) + unit.name + " ago";
    }
    return std::to_string(ns / kSecondNs / 86400) + " days ago";
}

std::string BytesText(std::uint64_t bytes) {
    constexpr std::uint64_t kKib = 1024;
    constexpr std::uint64_t kMib = kKib * kKib;
    if (bytes < kMib) return std::to_string((bytes + kKib - 1) / kKib) + " KiB";
    return Tenths(bytes / (kMib / 10)) + " MiB";
}

}  // namespace qxlt
