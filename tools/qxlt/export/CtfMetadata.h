// How a CTF trace of calls describes itself.
#pragma once

#include <cstdint>
#include <string>

#include "WallTime.h"

namespace qxlt {

// The events, by the numbers that they have in the streams.
enum class CtfEvent : std::uint16_t { CallEntry, CallExit, CallWithoutExit, ScenarioEvent, Loss };

// Which alternative of a value is there, by its number.
enum class CtfKind : std::uint8_t { Signed, Unsigned, Real, Boolean, Text, Bytes };

// The text of the file "metadata". What CtfTrace writes is what it says. A clock whose offset is not known begins at 0.
std::string CtfMetadata(ClockOffset offset);

}  // namespace qxlt
