// The words of the scenario language as texts. They are spelled in the library's lists alone, which the evaluation
// reads scripts with: what the tool checks, suggests and writes is what is understood.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "QxEventWords.h"
#include "QxScriptWords.h"

namespace qxlt {

// The words that an attribute of the language takes.
template <typename Meaning, std::size_t count>
std::vector<std::string> TextsOf(const qxscript::Word<Meaning> (&words)[count]) {
    std::vector<std::string> texts;
    for (const qxscript::Word<Meaning>& word : words) texts.emplace_back(word.text);
    return texts;
}

// The name of an event's attribute.
inline std::string TextOf(QxEventWords::Attribute attribute) {
    return std::string(QxEventWords::kNames[attribute]);
}

// The word that stands for the meaning; empty for the meaning of all other words.
inline std::string TextOf(qxscript::Tag tag) {
    return std::string(qxscript::WordFor(tag, qxscript::kTags));
}
inline std::string TextOf(qxscript::Type type) {
    return std::string(qxscript::WordFor(type, qxscript::kTypes));
}
inline std::string TextOf(qxscript::Watch watch) {
    return std::string(qxscript::WordFor(watch, qxscript::kWatches));
}
inline std::string TextOf(qxscript::Condition condition) {
    return std::string(qxscript::WordFor(condition, qxscript::kConditions));
}
inline std::string TextOf(qxscript::Combination combination) {
    return std::string(qxscript::WordFor(combination, qxscript::kConditionTypes));
}

}  // namespace qxlt
