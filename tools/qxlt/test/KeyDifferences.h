// Which keys of a line that came are not as they are expected, for a person.
#pragma once

#include <string>
#include <vector>

#include "JsonFwd.h"

namespace qxlt {

// `value: "79" -> "81"` for each key of the expected line that differs: what is expected, and what came. An argument is
// named by its place, "call.in.0". Long values are cut.
std::vector<std::string> KeyDifferences(const JsonObject& expected, const JsonObject& actual);

}  // namespace qxlt
