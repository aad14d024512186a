#include "StoreText.h"

#include "Json.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";
constexpr char kEscapedNul[] = "\\u0000";

std::string WithoutNul(std::string text) {
    for (std::size_t at = text.find('\0'); at != std::string::npos; at = text.find('\0', at)) {
        text.replace(at, 1, kReplacement);
    }
    return text;
}

// Nested as deep as a message may be.
JsonObject Cleaned(const JsonObject& value) {
    if (value.is_string()) return WithoutNul(value.get<std::string>());
    if (value.is_array()) {
        JsonObject list = JsonObject::array();
        for (const JsonObject& item : value) list.push_back(Cleaned(item));
        return list;
    }
    if (!value.is_object()) return value;
    JsonObject object = JsonObject::object();
    for (const auto& [key, item] : value.items()) object[WithoutNul(key)] = Cleaned(item);
    return object;
}

}  // namespace

std::string StoredText(std::string_view text) {
    return WithoutNul(ReplaceInvalid(text));
}

std::string StoredJson(const JsonObject& object) {
    std::string text = object.dump();
    return text.find(kEscapedNul) == std::string::npos ? text : Cleaned(object).dump();
}

}  // namespace qxlt
