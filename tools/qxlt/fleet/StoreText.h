// Texts as databases take them: valid UTF-8 without NUL.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "JsonFwd.h"

namespace qxlt {

// The text with U+FFFD in the place of each byte that no database takes.
std::string StoredText(std::string_view text);

// The object as JSON, its texts and keys likewise.
std::string StoredJson(const JsonObject& object);

}  // namespace qxlt
