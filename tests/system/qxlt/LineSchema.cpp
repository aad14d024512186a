#include "LineSchema.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

namespace {

using Json = nlohmann::json;

constexpr std::size_t kMostLines = 200;  // of one output: more of them are of the same kinds

// The part of JSON Schema that the file uses; a word that is not known fails everything, one about values of another
// kind than this says nothing.
class Schema final {
public:
    Schema() : m_root(Json::parse(std::ifstream(QXLT_SOURCE_DIR "/docs/lines.schema.json"))) {}

    bool Matches(const Json& value) const { return Matches(m_root, value); }

private:
    bool Matches(const Json& schema, const Json& value) const {
        return std::all_of(schema.items().begin(), schema.items().end(),
                           [&](const auto& word) { return Holds(word.key(), word.value(), schema, value); });
    }

    bool Holds(const std::string& word, const Json& wanted, const Json& schema, const Json& value) const {
        if (word == "$schema" || word == "title" || word == "description" || word == "$defs") return true;
        if (word == "patternProperties" || word == "additionalProperties") return true;  // see HasProperties
        if (word == "$ref") return Matches(m_root.at(Json::json_pointer(wanted.get<std::string>().substr(1))), value);
        if (word == "oneOf") return Count(wanted, value) == 1;
        if (word == "anyOf") return Count(wanted, value) > 0;
        if (word == "type") return IsA(wanted, value);
        if (word == "const") return value == wanted;
        if (word == "enum") return std::find(wanted.begin(), wanted.end(), value) != wanted.end();
        if (word == "minimum") return !value.is_number() || value >= wanted;
        if (word == "maximum") return !value.is_number() || value <= wanted;
        if (word == "minProperties") return value.size() >= wanted.get<std::size_t>();
        if (word == "pattern") {
            return !value.is_string() || IsFound(wanted.get<std::string>(), value.get<std::string>());
        }
        if (word == "required") return !value.is_object() || HasAll(wanted, value);
        if (word == "properties") return HasProperties(schema, value);
        if (word == "items") {
            return !value.is_array() ||
                   std::all_of(value.begin(), value.end(), [&](const Json& item) { return Matches(wanted, item); });
        }
        return false;
    }

    // Patterns are few, and making one takes far longer than using it.
    static bool IsFound(const std::string& pattern, const std::string& text) {
        static std::map<std::string, std::regex>& made = *new std::map<std::string, std::regex>;
        return std::regex_search(text, made.try_emplace(pattern, pattern).first->second);
    }

    std::ptrdiff_t Count(const Json& schemas, const Json& value) const {
        return std::count_if(schemas.begin(), schemas.end(),
                             [&](const Json& schema) { return Matches(schema, value); });
    }

    static bool IsA(const Json& type, const Json& value) {
        if (type.is_array()) {
            return std::any_of(type.begin(), type.end(), [&](const Json& one) { return IsA(one, value); });
        }
        if (type == "integer") return value.is_number_integer();
        if (type == "number") return value.is_number();
        return type == value.type_name();
    }

    static bool HasAll(const Json& keys, const Json& value) {
        return std::all_of(keys.begin(), keys.end(),
                           [&](const Json& key) { return value.contains(key.get<std::string>()); });
    }

    // A key that is not named is one in hex, of a text that is; or what such keys are said to be.
    bool HasProperties(const Json& schema, const Json& value) const {
        if (!value.is_object()) return true;
        for (const auto& [key, property] : value.items()) {
            const auto named = schema["properties"].find(key);
            if (named != schema["properties"].end() ? !Matches(*named, property) : !IsUnnamed(schema, key, property)) {
                return false;
            }
        }
        return true;
    }

    bool IsUnnamed(const Json& schema, const std::string& key, const Json& property) const {
        for (const auto& [pattern, wanted] : schema["patternProperties"].items()) {
            if (IsFound(pattern, key)) return Matches(wanted, property);
        }
        const auto others = schema.find("additionalProperties");
        return others != schema.end() && others->is_object() && Matches(*others, property);
    }

    const Json m_root;
};

}  // namespace

std::string SchemaFault(const std::string& line) {
    static const Schema& schema = *new Schema;
    try {
        return schema.Matches(Json::parse(line)) ? "" : "no line of docs/lines.schema.json: " + line;
    } catch (const Json::exception& error) {
        return error.what() + std::string(": ") + line;
    }
}

void ExpectLinesOfSchema(const std::string& output) {
    std::size_t from = 0;
    for (std::size_t i = 0; i < kMostLines; ++i) {
        const std::size_t end = output.find('\n', from);
        if (end == std::string::npos) return;
        const std::string fault = SchemaFault(output.substr(from, end - from));
        if (!fault.empty()) {
            ADD_FAILURE() << fault;
            return;
        }
        from = end + 1;
    }
}
