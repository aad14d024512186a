// Spans of time, recorded as the number of their units.
#pragma once

#include <chrono>
#include <ratio>
#include <string>
#include <type_traits>

#include "qx/detail/encoder.h"
#include "qx/detail/values.h"

namespace qx {
namespace recorder {
namespace detail {

template <class Period>
std::string UnitName() {
    if constexpr (std::is_same_v<Period, std::nano>) return "nanoseconds";
    if constexpr (std::is_same_v<Period, std::micro>) return "microseconds";
    if constexpr (std::is_same_v<Period, std::milli>) return "milliseconds";
    if constexpr (std::is_same_v<Period, std::ratio<1>>) return "seconds";
    if constexpr (std::is_same_v<Period, std::ratio<60>>) return "minutes";
    if constexpr (std::is_same_v<Period, std::ratio<3600>>) return "hours";
    if constexpr (std::is_same_v<Period, std::ratio<86400>>) return "days";
    return std::to_string(Period::num) + "/" + std::to_string(Period::den) + " seconds";
}

template <class Count, class Period>
struct Value<std::chrono::duration<Count, Period>, void>
    : FixedValue<std::chrono::duration<Count, Period>, Value<std::chrono::duration<Count, Period>>> {
    // Numbers with a fraction say so, since nothing else tells how their bytes are read.
    static std::string Name() {
        std::string unit = UnitName<typename Period::type>();
        if constexpr (std::is_floating_point_v<Count>)
            return Value<Count>::Name() + " " + unit;
        else
            return unit;
    }
    static void Encode(Encoder& encoder, std::chrono::duration<Count, Period> value) noexcept {
        Value<Count>::Encode(encoder, value.count());
    }
};

}  // namespace detail
}  // namespace recorder
}  // namespace qx
