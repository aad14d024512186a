#include <map>

#include "CheckedEvent.h"
#include "Checks.h"
#include "Messages.h"

namespace qxlt {

namespace {

using qxscript::Watch;

const char* WhatIsShared(const CheckedEvent& one, const CheckedEvent& other) {
    const Watch watch = one.Words().Watch();
    if (watch == other.Words().Watch() && watch == Watch::Changed) return "they share their last value";
    if (watch == other.Words().Watch() && watch == Watch::Rising) return "they share their last result";
    return "a client cannot tell them apart";
}

// The events of one name that came before: the first with each watch mode.
using Earlier = std::map<Watch, const ScriptElement*>;

// The one that shares most with the event: of the same watch mode if there is one.
const ScriptElement& NearestOf(const Earlier& earlier, const CheckedEvent& event) {
    const auto same = earlier.find(event.Words().Watch());
    return *(same == earlier.end() ? earlier.begin() : same)->second;
}

// The one whose first value the event takes for its last one, or gives as such; the end when there is none.
Earlier::const_iterator PairOf(const Earlier& earlier, const CheckedEvent& event) {
    const Watch watch = event.Words().Watch();
    if (watch == Watch::Always) return earlier.find(Watch::Changed);
    return watch == Watch::Changed ? earlier.find(Watch::Always) : earlier.end();
}

void CheckEvent(const ScriptElement& element, const Earlier& earlier, Findings& findings) {
    const CheckedEvent event(element);
    const auto pair = PairOf(earlier, event);
    const ScriptElement& other = pair == earlier.end() ? NearestOf(earlier, event) : *pair->second;
    const std::string where = " also stands in " + Place(other.script->File(), other.place.line) + ": ";
    const TextPlace place = ValuePlace(element, QxEventWords::kName);
    if (pair != earlier.end()) {
        findings.Add(CheckId::SeededByAlways, element, place,
                     "event " + Quoted(event[QxEventWords::kName]) + where +
                         "the ALWAYS event's first value counts as the CHANGED event's last one");
    } else {
        findings.Add(CheckId::SharedName, element, place,
                     "event " + Quoted(event[QxEventWords::kName]) + where + WhatIsShared(event, CheckedEvent(other)));
    }
}

}  // namespace

void CheckSharing(const ScenarioOutline& outline, Findings& findings) {
    std::map<std::string, Earlier> byName;
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const event : action.events) {
            if (event->Value(TextOf(QxEventWords::kName)).empty()) continue;
            Earlier& earlier = byName[event->Value(TextOf(QxEventWords::kName))];
            if (!earlier.empty()) CheckEvent(*event, earlier, findings);
            earlier.emplace(CheckedEvent(*event).Words().Watch(), event);
        }
    }
}

}  // namespace qxlt
