#include <algorithm>
#include <map>

#include "Checks.h"
#include "CommandName.h"
#include "Messages.h"

namespace qxlt {

namespace {

bool NamesProcess(const ScenarioAction& action) {
    return action.element->Find(qxscript::kActionProcess) != nullptr;
}

// What a script that is not well-formed goes on to say is not known.
void CheckAny(const ScenarioOutline& outline, Findings& findings) {
    const std::vector<ScenarioAction>& actions = outline.Actions();
    const auto isCut = [](const ScriptText* script) { return script->Defect().has_value(); };
    if (actions.empty() || std::any_of(actions.begin(), actions.end(), NamesProcess)) return;
    if (std::any_of(outline.Scripts().begin(), outline.Scripts().end(), isCut)) return;
    const ScriptElement& top = *actions.front().element->parent;
    findings.Add(CheckId::NoProcess, top, top.place,
                 "no action names a process, so that run needs -p and a client watches nothing",
                 Written(qxscript::kActionProcess, "NAME") + " in an action");
}

// The methods of all actions, with the processes that they are watched for.
class WatchedMethods final {
public:
    WatchedMethods(const ScenarioOutline& outline, Findings& findings) : m_outline(outline), m_findings(findings) {}

    void Add(const ScenarioAction& action, const ScriptElement& method) {
        const std::string& process = action.element->Value(qxscript::kActionProcess);
        if (process.empty() || method.attributes.empty()) return;
        const ScriptAttribute& name = MethodName(method);
        const Watch watch{&action, &method};
        const Watch& first = m_first.emplace(name.value, watch).first->second;
        const std::string& firstProcess = first.action->element->Value(qxscript::kActionProcess);
        if (CommandName(firstProcess) == CommandName(process)) return;
        // A subscription that is dropped is another finding.
        if (&m_outline.Subscribed(name.value, action.name) != &method) return;
        m_findings.Add(CheckId::SeveralProcesses, method, name.valuePlace,
                       Quoted(name.value) + " is also watched for " + Quoted(firstProcess) + " (" +
                           Place(first.method->script->File(), first.method->place.line) +
                           "): both actions see the calls of both processes");
    }

private:
    struct Watch {
        const ScenarioAction* action;
        const ScriptElement* method;
    };

    const ScenarioOutline& m_outline;
    Findings& m_findings;
    std::map<std::string, Watch> m_first;
};

}  // namespace

void CheckProcesses(const ScenarioOutline& outline, Findings& findings) {
    CheckAny(outline, findings);
    WatchedMethods methods(outline, findings);
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const method : action.methods) methods.Add(action, *method);
    }
}

}  // namespace qxlt
