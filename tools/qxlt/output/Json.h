// JSON that is read: objects whose keys keep their order. What the tool writes for each call is a JsonLine.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "JsonFwd.h"

namespace qxlt {

// Reads JSON text that stands at `place`. Throws a Failure (cannot start) that names the place for text that is none,
// or is nested so deep that a copy of it, which is made level by level, would use up the stack.
JsonObject ParseJson(const std::string& place, const std::string& text);

// The object as one that is kept.
SharedJson Shared(JsonObject object);

}  // namespace qxlt
