#include "Json.h"

#include <algorithm>

#include "Text.h"

namespace qxlt {

void AddText(JsonObject& object, const std::string& key, const std::string& text) {
    const bool valid = IsUtf8(text);
    object[key] = valid ? text : ReplaceInvalid(text);
    if (!valid) object[key + "Hex"] = Hex(text);
}

void AddTexts(JsonObject& object, const std::string& key, const std::vector<std::string>& texts) {
    JsonObject shown = JsonObject::array();
    JsonObject hex = JsonObject::array();
    for (const std::string& text : texts) {
        shown.push_back(ReplaceInvalid(text));
        hex.push_back(Hex(text));
    }
    object[key] = std::move(shown);
    if (!std::all_of(texts.begin(), texts.end(), IsUtf8)) object[key + "Hex"] = std::move(hex);
}

}  // namespace qxlt
