// How near a value is to one for which an event's condition holds.
#pragma once

#include <cstdint>
#include <string>

#include "QxEventWords.h"

namespace qxlt {

// No change to the value would make the condition hold.
inline constexpr std::uint64_t kOutOfReach = UINT64_MAX;

// 0 when the condition holds for the value: of numbers the difference, of texts the characters to change. Operands are
// combined as the evaluation combines them. Throws as the evaluation does for text that is no number.
std::uint64_t ConditionDistance(const QxEventWords& event, const std::string& value);

}  // namespace qxlt
