#include <algorithm>

#include "CheckedEvent.h"
#include "Checks.h"

namespace qxlt {

namespace {

// As it is written with ampersands; what is blank behind a comma goes.
std::string WithAmpersands(const std::string& text) {
    std::string joined;
    for (std::size_t at = 0; at < text.size();) {
        const bool isComma = text[at] == ',';
        joined += isComma ? '&' : text[at];
        ++at;
        if (isComma) at = std::min(text.find_first_not_of(' ', at), text.size());
    }
    return joined;
}

}  // namespace

void CheckLists(const ScenarioOutline& outline, Findings& findings) {
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const element : action.events) {
            const CheckedEvent event(*element);
            if (!event.HasCommaList()) continue;
            const bool isAny = event.Words().Condition() == qxscript::Condition::Equal;
            std::string instead =
                Written(QxEventWords::kConditionValue, WithAmpersands(event[QxEventWords::kConditionValue]));
            if (!event.Has(QxEventWords::kConditionType)) {
                instead += " " + Written(QxEventWords::kConditionType, isAny ? TextOf(qxscript::Combination::Any)
                                                                             : TextOf(qxscript::Combination::All));
            }
            findings.Add(CheckId::CommaList, *element, ValuePlace(*element, QxEventWords::kConditionValue),
                         "the comma does not separate, it is part of the value", instead);
        }
    }
}

}  // namespace qxlt
