#include <map>

#include "Checks.h"
#include "Common.h"
#include "EventWords.h"

namespace qxlt {

namespace {

const char* WhatIsShared(const EventWords& one, const EventWords& other) {
    if (one.Is("watch", "CHANGED") && other.Is("watch", "CHANGED")) return "they share their last value";
    if (one.Is("watch", "D-CONDITIONAL") && other.Is("watch", "D-CONDITIONAL")) return "they share their last result";
    return "a client cannot tell them apart";
}

// The events of one name that came before: the first with each watch mode.
using Earlier = std::map<std::string, const ScriptElement*>;

// The one that shares most with the event: of the same watch mode if there is one.
const ScriptElement& NearestOf(const Earlier& earlier, const EventWords& event) {
    const auto same = earlier.find(event["watch"]);
    return *(same == earlier.end() ? earlier.begin() : same)->second;
}

// The one whose first value the event takes for its last one, or gives as such; the end when there is none.
Earlier::const_iterator PairOf(const Earlier& earlier, const EventWords& event) {
    if (event.Is("watch", "ALWAYS")) return earlier.find("CHANGED");
    return event.Is("watch", "CHANGED") ? earlier.find("ALWAYS") : earlier.end();
}

void CheckEvent(const ScriptElement& element, const Earlier& earlier, Findings& findings) {
    const EventWords event(element);
    const auto pair = PairOf(earlier, event);
    const ScriptElement& other = pair == earlier.end() ? NearestOf(earlier, event) : *pair->second;
    const std::string where = " also stands in " + Place(other.script->File(), other.place.line) + ": ";
    const TextPlace place = ValuePlace(element, "name");
    if (pair != earlier.end()) {
        findings.Add(CheckId::SeededByAlways, element, place,
                     "event " + Quoted(event["name"]) + where +
                         "the ALWAYS event's first value counts as the CHANGED event's last one");
    } else {
        findings.Add(CheckId::SharedName, element, place,
                     "event " + Quoted(event["name"]) + where + WhatIsShared(event, EventWords(other)));
    }
}

}  // namespace

void CheckSharing(const ScenarioOutline& outline, Findings& findings) {
    std::map<std::string, Earlier> byName;
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const event : action.events) {
            if (event->Value("name").empty()) continue;
            Earlier& earlier = byName[event->Value("name")];
            if (!earlier.empty()) CheckEvent(*event, earlier, findings);
            earlier.emplace(event->Value("watch"), event);
        }
    }
}

}  // namespace qxlt
