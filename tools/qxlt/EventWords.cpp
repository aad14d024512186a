#include "EventWords.h"

namespace qxlt {

EventWords::EventWords(const ScriptElement& event) : m_event(event) {
    for (const ScriptAttribute& attribute : event.attributes) m_words.Take(attribute.name, attribute.value);
}

bool EventWords::ComparesEach() const {
    const qxscript::Condition condition = m_words.Condition();
    return condition == qxscript::Condition::Equal || condition == qxscript::Condition::NotEqual;
}

bool EventWords::ComparesOrder() const {
    const qxscript::Condition condition = m_words.Condition();
    return condition == qxscript::Condition::Greater || condition == qxscript::Condition::Less;
}

}  // namespace qxlt
