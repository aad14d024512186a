#include "ScenarioOutline.h"

#include <strings.h>

#include <algorithm>
#include <utility>

#include "Nearest.h"

namespace qxlt {

namespace {

bool IsScenario(const ScriptText& script) {
    if (script.Top() == nullptr) return false;
    const std::string& name = script.Top()->name;
    return name != kSessionTop && (name == kScenarioTop || Meant(name, {kScenarioTop, kSessionTop}) == kScenarioTop);
}

}  // namespace

ScenarioOutline::ScenarioOutline(std::vector<const ScriptText*> scripts) : m_scripts(std::move(scripts)) {
    for (const ScriptText* const script : m_scripts) {
        if (!IsScenario(*script)) continue;
        for (const ScriptElement& element : script->Elements()) m_elements.push_back(&element);
        for (const ScriptElement* const child : script->Top()->children) {
            if (IsAction(*child)) AddAction(*child);
        }
    }
}

void ScenarioOutline::AddAction(const ScriptElement& element) {
    ScenarioAction action{&element, std::string(), true, {}, {}};
    if (const ScriptAttribute* const name = element.Find("name")) {
        m_name = name->value;
        action.inheritsName = false;
    }
    action.name = m_name;
    for (const ScriptElement* const child : element.children) {
        if (child->name == "method") action.methods.push_back(child);
        if (child->name == "event") action.events.push_back(child);
    }
    m_actions.push_back(std::move(action));
}

bool IsMethodOrEvent(const ScriptElement& element) {
    return element.name == "method" || element.name == "event";
}

bool IsAction(const ScriptElement& element) {
    return element.depth == 1 && !IsMethodOrEvent(element);
}

const ScriptAttribute& MethodName(const ScriptElement& method) {
    return method.attributes.front();
}

std::string Meant(const std::string& word, const std::vector<std::string>& known) {
    const auto same = std::find_if(known.begin(), known.end(), [&](const std::string& candidate) {
        return strcasecmp(candidate.c_str(), word.c_str()) == 0;
    });
    return same == known.end() ? Suggestion(word, known) : *same;
}

}  // namespace qxlt
