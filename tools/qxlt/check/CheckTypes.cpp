#include "CheckedEvent.h"
#include "Checks.h"

namespace qxlt {

namespace {

// Whether a finding of another check says that the type is missing: an operator needs it, or a keyword or filter meets
// nothing but the word NONE.
bool IsSpokenOf(const CheckedEvent& event) {
    const bool needsType = event.ComparesEach() || event.ComparesOrder() || event.IsRange();
    return (event.IsConditional() && needsType) || event.IsHeldBack(qxscript::kNoValue);
}

}  // namespace

void CheckTypes(const ScenarioOutline& outline, Findings& findings) {
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const element : action.events) {
            const CheckedEvent event(*element);
            if (!event.HasSource() || event.Has(QxEventWords::kType) || IsSpokenOf(event)) continue;
            findings.Add(CheckId::MissingType, *element, element->place,
                         "type is missing, so that the value is the word NONE whatever was passed",
                         Written(QxEventWords::kType, TextOf(qxscript::Type::Int)) + " or " +
                             Written(QxEventWords::kType, TextOf(qxscript::Type::String)));
        }
    }
}

}  // namespace qxlt
