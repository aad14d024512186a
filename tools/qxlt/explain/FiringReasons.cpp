#include "FiringReasons.h"

#include "EventRecord.h"
#include "Text.h"

namespace qxlt {

namespace {

using Words = QxEventWords;
using qxscript::Watch;

std::string Quoted(const std::string& text) {
    return '"' + Printable(text) + '"';
}

// What a value has to be besides.
std::string ChoiceText(const QxEventWords& words) {
    std::string text;
    if (!words[Words::kFilter].empty()) text += "; the value contains the filter " + Quoted(words[Words::kFilter]);
    if (!words[Words::kKeyword].empty()) text += "; the value is the keyword " + Quoted(words[Words::kKeyword]);
    return text;
}

}  // namespace

// Whether the evaluation came as far as the condition, or the value before, and understood it.
bool FiringReasons::WasCompared(QxOutcome outcome) {
    return outcome == QxOutcome::Unchanged || outcome == QxOutcome::ConditionFalse || outcome == QxOutcome::NotRising ||
           outcome == QxOutcome::Fires;
}

void FiringReasons::OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long, const IQxData::HSCall&,
                            QxOutcome outcome, const std::string& argument) {
    if (!WasCompared(outcome)) return;
    const QxEventWords words(event);
    if (outcome == QxOutcome::Fires) m_last = m_places->Of(event).Text() + ": " + Reason(words) + ChoiceText(words);
    Remember(words, outcome, argument);
}

std::string FiringReasons::Reason(const QxEventWords& words) const {
    switch (words.Watch()) {
        case Watch::Changed:
            return ChangeReason(words[Words::kName]);
        case Watch::Conditional:
            return ConditionText(words) + " holds";
        case Watch::Rising:
            return EdgeReason(words);
        case Watch::Always:
        case Watch::Other:
            break;
    }
    return "it fires for every call";
}

std::string FiringReasons::ChangeReason(const std::string& name) const {
    const auto before = m_values.find(name);
    return before == m_values.end() ? "it is the first value" : "the value changed; it was " + Quoted(before->second);
}

std::string FiringReasons::EdgeReason(const QxEventWords& words) const {
    const auto before = m_compared.find(words[Words::kName]);
    const std::string holds = ConditionText(words) + " holds";
    if (before == m_compared.end()) return holds + "; it is the first value";
    return holds + "; before, with " + Quoted(before->second) + ", it did not";
}

void FiringReasons::Remember(const QxEventWords& words, QxOutcome outcome, const std::string& argument) {
    const std::string& name = words[Words::kName];
    if (words.Watch() == Watch::Changed) m_values[name] = argument;
    if (words.Watch() == Watch::Always && outcome == QxOutcome::Fires) m_values.emplace(name, argument);
    if (words.Watch() == Watch::Rising) m_compared[name] = argument;
}

}  // namespace qxlt
