// JSON lines: objects whose keys keep their order, for programs that read the tool's output.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "JsonFwd.h"

namespace qxlt {

// Reads JSON text that stands at `place`. Throws a Failure (cannot start) that names the place for text that is none,
// or is nested so deep that a copy of it, which is made level by level, would use up the stack.
JsonObject ParseJson(const std::string& place, const std::string& text);

// Appends the text under `key`. Text that is not UTF-8 is repaired, and all its bytes follow in hex under the same key
// with "Hex" appended.
void AddText(JsonObject& object, const std::string& key, const std::string& text);

// The same for a list of texts: when one of them is not UTF-8, a list of all of them in hex follows.
void AddTexts(JsonObject& object, const std::string& key, const std::vector<std::string>& texts);

// The object as one that is kept.
SharedJson Shared(JsonObject object);

}  // namespace qxlt
