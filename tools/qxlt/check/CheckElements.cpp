#include <algorithm>

#include "Checks.h"
#include "QxEventWords.h"

namespace qxlt {

namespace {

const std::vector<std::string> kInAction = {qxscript::kMethod, qxscript::kEvent};
const std::vector<std::string> kOfAction = {qxscript::kActionName, qxscript::kActionProcess};
const std::vector<std::string> kOfEvent(QxEventWords::kNames.begin(), QxEventWords::kNames.end());

bool Holds(const std::vector<std::string>& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

void CheckElement(const ScriptElement& element, Findings& findings) {
    if (IsMethodOrEvent(element)) {
        if (element.depth == 2) return;
        findings.Add(CheckId::Misplaced, element, element.place,
                     element.name + " is not directly below an action, so that it is never evaluated");
    } else if (element.depth == 2) {
        findings.Add(CheckId::UnknownElement, element, element.place,
                     "unknown element " + Quoted(element.name) + ", which is ignored", Meant(element.name, kInAction));
    } else if (element.depth > 2 && IsMethodOrEvent(*element.parent)) {
        findings.Add(CheckId::UnknownElement, element, element.place,
                     "element " + Quoted(element.name) + " inside a " + element.parent->name + ", where none is read");
    }
}

// The attributes that are read in this element; a method's first one is read whatever its name.
std::vector<std::string> KnownAttributes(const ScriptElement& element) {
    if (element.name == qxscript::kEvent) return kOfEvent;
    if (element.name == qxscript::kMethod)
        return {qxscript::kUsualMethodName,
                element.attributes.empty() ? qxscript::kUsualMethodName : MethodName(element).name};
    return IsAction(element) ? kOfAction : std::vector<std::string>();
}

bool IsForeign(const std::string& name) {
    return name.find(':') != std::string::npos || name == "xmlns";
}

void CheckAttributes(const ScriptElement& element, Findings& findings) {
    if (element.depth > 1 && !IsMethodOrEvent(element)) return;
    const std::vector<std::string> known = KnownAttributes(element);
    for (const ScriptAttribute& attribute : element.attributes) {
        if (Holds(known, attribute.name) || IsForeign(attribute.name)) continue;
        if (attribute.name == qxscript::kActionProcess) {
            if (element.depth == 1) continue;  // whatever the element is called
            findings.Add(CheckId::ProcessMisplaced, element, attribute.place,
                         "process has no effect here; only an action's is watched");
            continue;
        }
        findings.Add(CheckId::UnknownAttribute, element, attribute.place,
                     "unknown attribute " + Quoted(attribute.name) + ", which is ignored",
                     element.name == qxscript::kMethod ? std::string() : Meant(attribute.name, known));
    }
}

}  // namespace

void CheckElements(const ScenarioOutline& outline, Findings& findings) {
    for (const ScriptElement* const element : outline.Elements()) {
        CheckElement(*element, findings);
        CheckAttributes(*element, findings);
    }
}

}  // namespace qxlt
