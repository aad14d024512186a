#include "Checks.h"
#include "CommandName.h"
#include "Messages.h"
#include "Text.h"

namespace qxlt {

namespace {

void CheckProcess(const ScriptElement& action, Findings& findings) {
    const ScriptAttribute* const process = action.Find(qxscript::kActionProcess);
    if (process == nullptr) return;
    if (process->value.empty()) {
        findings.Add(CheckId::EmptyProcessName, action, process->valuePlace,
                     "the process has no name: loading waits for it without end");
    }
    if (process->value.size() <= kCommandName) return;
    findings.Add(CheckId::LongProcessName, action, process->valuePlace,
                 "the process name has " + std::to_string(process->value.size()) + " bytes; only " +
                     Quoted(CommandName(process->value)) + " is matched");
}

// Whether the text may have stopped being well-formed inside the action.
bool MayBeCut(const ScriptElement& action) {
    return action.script->Defect() && action.parent->children.back() == &action;
}

// One that is named as a part of an action has its own finding.
void CheckParts(const ScenarioAction& action, Findings& findings) {
    const ScriptElement& element = *action.element;
    if (!IsAction(element)) return;
    const bool isWhole = !MayBeCut(element);
    if (action.methods.empty() && isWhole) {
        findings.Add(CheckId::ActionWithoutMethod, element, element.place,
                     "action without method, so that none of its events is evaluated");
    }
    if (action.events.empty() && isWhole) {
        findings.Add(CheckId::ActionWithoutEvent, element, element.place,
                     "action without event, so that it raises none");
    }
    if (!action.inheritsName) return;
    findings.Add(CheckId::ActionWithoutName, element, element.place,
                 action.name.empty()
                     ? "action without name is subscribed under the empty name"
                     : "action without name takes " + Quoted(action.name) + ", the name of the one before it");
}

void CheckMethod(const ScriptElement& method, Findings& findings) {
    if (method.attributes.empty()) {
        findings.Add(CheckId::MethodWithoutAttribute, method, method.place,
                     "method without attribute, which matches no call", Written(qxscript::kUsualMethodName, "..."));
        return;
    }
    const ScriptAttribute& first = MethodName(method);
    const ScriptAttribute* const name = method.Find(qxscript::kUsualMethodName);
    if (name != nullptr && name != &first) {
        findings.Add(CheckId::MethodNameNotFirst, method, first.place,
                     "the first attribute is the method's name, and that is " + Quoted(first.value) + " here",
                     Written(qxscript::kUsualMethodName, name->value) + " in front");
    } else if (first.value.empty()) {
        findings.Add(CheckId::EmptyMethodName, method, first.valuePlace,
                     "an empty method name matches only calls whose call site is unknown");
    }
}

void CheckSubscription(const ScenarioOutline& outline, const ScenarioAction& action, const ScriptElement& method,
                       Findings& findings) {
    if (method.attributes.empty()) return;
    const ScriptAttribute& name = MethodName(method);
    const ScriptElement& first = outline.Subscribed(name.value, action.name);
    if (&first == &method) return;
    findings.Add(CheckId::MethodTwice, method, name.valuePlace,
                 Quoted(name.value) + " is already subscribed under the action name " + Quoted(action.name) + " (" +
                     Place(first.script->File(), first.place.line) + "), so that this one is dropped");
}

}  // namespace

void CheckActions(const ScenarioOutline& outline, Findings& findings) {
    for (const ScenarioAction& action : outline.Actions()) {
        CheckProcess(*action.element, findings);
        CheckParts(action, findings);
        for (const ScriptElement* const method : action.methods) {
            CheckMethod(*method, findings);
            CheckSubscription(outline, action, *method, findings);
        }
    }
}

}  // namespace qxlt
