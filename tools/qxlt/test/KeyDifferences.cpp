#include "KeyDifferences.h"

#include "EventCells.h"
#include "ExpectedLine.h"
#include "Json.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kLongest = 60;  // characters of a value

std::string NoteText(const std::string& key, const std::string& expected, const std::string& actual) {
    return Printable(key) + ": " + Cut(Printable(expected), kLongest) + " -> " + Cut(Printable(actual), kLongest);
}

// As they are read, unless that does not tell them apart.
std::string ArgumentNote(const std::string& key, const JsonObject& expected, const JsonObject& actual) {
    const std::string was = JsonArgumentText(expected);
    const std::string is = JsonArgumentText(actual);
    return was == is ? NoteText(key, expected.dump(), actual.dump()) : NoteText(key, was, is);
}

void AddArguments(std::vector<std::string>& notes, const std::string& key, const JsonObject& expected,
                  const JsonObject& actual) {
    if (expected.size() != actual.size()) {
        notes.push_back(NoteText(key, "(" + JsonArgumentsText(expected) + ")", "(" + JsonArgumentsText(actual) + ")"));
        return;
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (IsExpected(expected[i], actual[i])) continue;
        notes.push_back(ArgumentNote(key + "." + std::to_string(i), expected[i], actual[i]));
    }
}

void AddKeys(std::vector<std::string>& notes, const std::string& above, const JsonObject& expected,
             const JsonObject& actual);

void AddKey(std::vector<std::string>& notes, const std::string& key, const JsonObject& expected,
            const JsonObject& actual) {
    if (IsExpected(expected, actual)) return;
    if (expected.is_object() && actual.is_object()) return AddKeys(notes, key + ".", expected, actual);
    if (expected.is_array() && actual.is_array()) return AddArguments(notes, key, expected, actual);
    notes.push_back(NoteText(key, expected.dump(), actual.dump()));
}

void AddKeys(std::vector<std::string>& notes, const std::string& above, const JsonObject& expected,
             const JsonObject& actual) {
    for (const auto& [key, value] : expected.items()) {
        if (key == "key") continue;
        const auto found = actual.find(key);
        if (found != actual.end()) {
            AddKey(notes, above + key, value, *found);
        } else {
            notes.push_back(NoteText(above + key, value.dump(), "not there"));
        }
    }
}

}  // namespace

std::vector<std::string> KeyDifferences(const JsonObject& expected, const JsonObject& actual) {
    std::vector<std::string> notes;
    AddKeys(notes, "", expected, actual);
    return notes;
}

}  // namespace qxlt
