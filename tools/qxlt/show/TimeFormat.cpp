#include "TimeFormat.h"

namespace qxlt {

namespace {

constexpr std::uint64_t kSecondNs = 1000000000;

}  // namespace

std::string RelativeText(std::uint64_t time, std::uint64_t start) {
    const bool isBefore = time < start;
    const std::uint64_t ns = isBefore ? start - time : time - start;
    std::string fraction = std::to_string(kSecondNs + ns % kSecondNs);
    return (isBefore ? "-" : "") + std::to_string(ns / kSecondNs) + "." + fraction.substr(1, 6);
}

std::string TimeText(TimeFormat format, const CallView& call) {
    const std::uint64_t time = call.call.time;
    if (format == TimeFormat::Relative && call.start) return RelativeText(time, *call.start);
    const std::optional<std::uint64_t> wall = WallTime(time, call.clock);
    return format == TimeFormat::Wall && wall ? WallText(*wall) : std::to_string(time);
}

std::string SpanText(std::uint64_t ns) {
    struct Unit {
        std::uint64_t size;
        const char* name;
    };
    constexpr Unit units[] = {{kSecondNs, " s"}, {1000000, " ms"}, {1000, " us"}};
    for (const Unit& unit : units) {
        if (ns < unit.size) continue;
        const std::uint64_t tenths = ns / (unit.size / 10);
        return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + unit.name;
    }
    return std::to_string(ns) + " ns";
}

}  // namespace qxlt
