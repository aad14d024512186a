// Lines of tests as a person reads them: an event as `run` shows it, from its JSON, of which an expected one may have a
// part only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "JsonFwd.h"
#include "LineLayout.h"

namespace qxlt {

// Whether the line is an event, or a part of one; the others are what was wrong in the input.
bool IsEvent(const JsonObject& line);

// Empty where the event does not have what stands there. Times are counted from the start where it is known.
Cells CellsOf(const JsonObject& event, std::optional<std::uint64_t> start);

// "audio.SetVolume(85) = 1": the call of an event.
std::string JsonCallText(const JsonObject& call);

// "error VOLUME, what stoi": the keys and values of what is no event.
std::string FaultText(const JsonObject& line);

// The value of an argument, as a list of pairs: "85", "{x:1 y:2}".
std::string JsonArgumentText(const JsonObject& argument);

// Of all of a list: "85, \"on\"".
std::string JsonArgumentsText(const JsonObject& arguments);

}  // namespace qxlt
