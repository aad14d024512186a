#include "CheckedEvent.h"

#include <algorithm>

#include "QxScriptScenario.h"
#include "ScriptNumber.h"

namespace qxlt {

namespace {

// Whether all that stands between commas and ampersands is numbers.
bool HoldsNumbersOnly(std::string text) {
    std::replace(text.begin(), text.end(), '&', ',');
    std::vector<std::string> pieces;
    split(text, ",", pieces);
    return std::all_of(pieces.begin(), pieces.end(), [](const std::string& piece) {
        const std::optional<ScriptNumber> number = ReadOperand(piece);
        return number && number->rest.empty();
    });
}

}  // namespace

CheckedEvent::CheckedEvent(const ScriptElement& event) : m_event(event) {
    for (const ScriptAttribute& attribute : event.attributes) m_words.Take(attribute.name, attribute.value);
}

bool CheckedEvent::ComparesEach() const {
    const qxscript::Condition condition = m_words.Condition();
    return condition == qxscript::Condition::Equal || condition == qxscript::Condition::NotEqual;
}

bool CheckedEvent::ComparesOrder() const {
    const qxscript::Condition condition = m_words.Condition();
    return condition == qxscript::Condition::Greater || condition == qxscript::Condition::Less;
}

bool CheckedEvent::IsHeldBack(const std::string& value) const {
    return value.find((*this)[QxEventWords::kFilter]) == std::string::npos ||
           (Has(QxEventWords::kKeyword) && (*this)[QxEventWords::kKeyword] != value);
}

bool CheckedEvent::HasCommaList() const {
    const std::string& text = (*this)[QxEventWords::kConditionValue];
    if (!IsConditional() || !ComparesEach() || text.find(',') == std::string::npos) return false;
    // Without a conditionType an ampersand does not separate either, which is another finding.
    if (!Has(QxEventWords::kConditionType) && text.find('&') != std::string::npos) return false;
    return ReadsNumber() ? HoldsNumbersOnly(text)
                         : Has(QxEventWords::kConditionType) || text.find(", ") == std::string::npos;
}

}  // namespace qxlt
