#include <algorithm>

#include "CheckedEvent.h"
#include "Checks.h"
#include "ScriptNumber.h"
#include "Text.h"

namespace qxlt {

namespace {

const std::vector<std::string> kTags = TextsOf(qxscript::kTags);
const std::vector<std::string> kTypes = TextsOf(qxscript::kTypes);
const std::vector<std::string> kWatches = TextsOf(qxscript::kWatches);
const std::vector<std::string> kConditions = TextsOf(qxscript::kConditions);
const std::vector<std::string> kConditionTypes = TextsOf(qxscript::kConditionTypes);

// An attribute that is missing or empty is a choice, a word that nothing knows is not.
bool IsKnown(const std::string& word, const std::vector<std::string>& known) {
    return word.empty() || std::find(known.begin(), known.end(), word) != known.end();
}

void AddUnknown(CheckId id, const ScriptElement& event, QxEventWords::Attribute attribute,
                const std::vector<std::string>& known, const std::string& instead, Findings& findings) {
    findings.Add(
        id, event, ValuePlace(event, attribute),
        TextOf(attribute) + " " + Quoted(event.Value(TextOf(attribute))) + " is none of " + CommaSeparated(known),
        instead);
}

void CheckWord(CheckId id, const ScriptElement& event, QxEventWords::Attribute attribute,
               const std::vector<std::string>& known, Findings& findings) {
    const std::string word = event.Value(TextOf(attribute));
    if (!IsKnown(word, known)) AddUnknown(id, event, attribute, known, Meant(word, known), findings);
}

// Of whole numbers, "at least 80" is "more than 79".
std::string MeantBound(const CheckedEvent& event, qxscript::Condition condition, long long step) {
    const std::optional<ScriptNumber> bound = ReadOperand(event[QxEventWords::kConditionValue]);
    if (!bound) return std::string();
    return Written(QxEventWords::kCondition, TextOf(condition)) + " " +
           Written(QxEventWords::kConditionValue, std::to_string(bound->value + step));
}

std::string MeantCondition(const CheckedEvent& event) {
    const std::string& condition = event[QxEventWords::kCondition];
    if (condition == ">=") return MeantBound(event, qxscript::Condition::Greater, -1);
    if (condition == "<=") return MeantBound(event, qxscript::Condition::Less, 1);
    if (condition == "<>") return TextOf(qxscript::Condition::NotEqual);
    return Meant(condition, kConditions);
}

void CheckCondition(const CheckedEvent& event, Findings& findings) {
    const ScriptElement& element = event.Element();
    if (!event.IsConditional()) return;
    if (!IsKnown(event[QxEventWords::kCondition], kConditions)) {
        AddUnknown(CheckId::UnknownCondition, element, QxEventWords::kCondition, kConditions, MeantCondition(event),
                   findings);
    }
    if (event.ComparesEach()) {
        CheckWord(CheckId::UnknownConditionType, element, QxEventWords::kConditionType, kConditionTypes, findings);
    }
}

void CheckIndex(const CheckedEvent& event, Findings& findings) {
    if (!event.HasSource()) return;
    const ScriptElement& element = event.Element();
    const TextPlace place = ValuePlace(element, QxEventWords::kValue);
    const std::string& text = event[QxEventWords::kValue];
    const std::optional<ScriptNumber> index = ReadIndex(text);
    if (!index) {
        findings.Add(CheckId::BadIndex, element, place,
                     text.empty() ? "value is missing: which argument is meant?"
                                  : "value " + Quoted(text) + " is no index, which is a number from 0",
                     Written(QxEventWords::kValue, "0"));
        return;
    }
    if (!index->rest.empty()) {
        findings.Add(CheckId::TextAfterNumber, element, place,
                     "value " + Quoted(text) + " reads as " + std::to_string(index->value),
                     Written(QxEventWords::kValue, std::to_string(index->value)));
    }
    if (event.Words().Tag() == qxscript::Tag::Ret && index->value != 0) {
        findings.Add(CheckId::ReturnIndex, element, place,
                     "a call has one result: index " + std::to_string(index->value) + " is never there",
                     Written(QxEventWords::kValue, "0"));
    }
}

// A comparison of numbers without a tag is an error of its own.
void CheckSource(const CheckedEvent& event, Findings& findings) {
    const ScriptElement& element = event.Element();
    if (event.Has(QxEventWords::kTag) || (event.IsConditional() && event.ComparesNumbers())) return;
    if (!event.Has(QxEventWords::kValue) && !event.Has(QxEventWords::kType)) return;
    findings.Add(CheckId::ValueWithoutTag, element, element.place,
                 "tag is missing, so that the value is empty and value and type are ignored",
                 Written(QxEventWords::kTag, TextOf(qxscript::Tag::In)));
}

}  // namespace

void CheckEvents(const ScenarioOutline& outline, Findings& findings) {
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const element : action.events) {
            const CheckedEvent event(*element);
            if (!event.Has(QxEventWords::kName)) {
                findings.Add(CheckId::EventWithoutName, *element, element->place,
                             "event without name: clients get it under an empty one");
            }
            CheckWord(CheckId::UnknownTag, *element, QxEventWords::kTag, kTags, findings);
            CheckWord(CheckId::UnknownType, *element, QxEventWords::kType, kTypes, findings);
            CheckWord(CheckId::UnknownWatch, *element, QxEventWords::kWatch, kWatches, findings);
            CheckCondition(event, findings);
            CheckIndex(event, findings);
            CheckSource(event, findings);
        }
    }
}

}  // namespace qxlt
