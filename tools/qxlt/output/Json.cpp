#include "Json.h"

#include <algorithm>
#include <utility>

#include "Failure.h"
#include "Messages.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr int kDeepest = 64;  // nobody writes more, while the stack takes thousands

[[noreturn]] void Refuse(const std::string& place, const std::string& why) {
    throw Failure(kCannotStart, place + ": " + why + "; write it anew");
}

}  // namespace

JsonObject ParseJson(const std::string& place, const std::string& text) {
    const auto isFlat = [&](int depth, JsonObject::parse_event_t, const JsonObject&) {
        if (depth > kDeepest) Refuse(place, "nested more than " + std::to_string(kDeepest) + " deep");
        return true;
    };
    try {
        return JsonObject::parse(text, isFlat);
    } catch (const JsonObject::parse_error& error) {
        Refuse(Place(place, error.byte), "not JSON");
    } catch (const JsonObject::out_of_range&) {
        Refuse(place, "holds a number out of range");
    }
}

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

SharedJson Shared(JsonObject object) {
    return std::make_shared<const JsonObject>(std::move(object));
}

}  // namespace qxlt
