#include "ScenarioOutline.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "Nearest.h"

namespace qxlt {

namespace {

bool IsNearScenario(const ScriptElement& top) {
    return Meant(top.name, {qxscript::kScenario, qxscript::kSession}) == qxscript::kScenario;
}

// The letters and digits of a word, in lower case.
std::string Letters(const std::string& word) {
    std::string letters;
    for (const char byte : word) {
        if (byte >= 'A' && byte <= 'Z') letters += static_cast<char>(byte - 'A' + 'a');
        if ((byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9')) letters += byte;
    }
    return letters;
}

}  // namespace

ScenarioOutline::ScenarioOutline(std::vector<const ScriptText*> scripts) : m_scripts(std::move(scripts)) {
    const ScriptElement* const top = Top();
    if (top == nullptr || top->name == qxscript::kSession) return;
    for (const ScriptText* const script : m_scripts) {
        if (script->Top() != nullptr && (script->Top() != top || IsNearScenario(*top))) AddScript(*script);
    }
    qxscript::Subscribe(m_root, m_subscriptions);
    qxscript::ForEachAction(
        m_root, [this](const IQxData::_HSScriptPtr& action, const std::string& name) { AddAction(action, name); });
}

const ScriptElement* ScenarioOutline::Top() const {
    const auto first = std::find_if(m_scripts.begin(), m_scripts.end(),
                                    [](const ScriptText* script) { return script->Top() != nullptr; });
    return first == m_scripts.end() ? nullptr : (*first)->Top();
}

void ScenarioOutline::AddScript(const ScriptText& script) {
    for (const ScriptElement& element : script.Elements()) m_elements.push_back(&element);
    for (const ScriptElement* const child : script.Top()->children) {
        IQxData::_HSScriptPtr& action = Copy(*child, m_root);
        for (const ScriptElement* const part : child->children) Copy(*part, action);
    }
}

IQxData::_HSScriptPtr& ScenarioOutline::Copy(const ScriptElement& element, IQxData::_HSScriptPtr& parent) {
    auto copy = std::make_unique<IQxData::_HSScriptPtr>();
    copy->name = element.name;
    for (const ScriptAttribute& attribute : element.attributes) {
        copy->attributes.emplace_back(attribute.name, attribute.value);
    }
    copy->parent = &parent;
    m_origins[copy.get()] = &element;
    parent.children.push_back(copy.get());
    return *copy.release();
}

void ScenarioOutline::AddAction(const IQxData::_HSScriptPtr& element, const std::string& name) {
    const bool inheritsName = qxscript::FindAttribute(element, qxscript::kActionName) == nullptr;
    ScenarioAction action{m_origins.at(&element), name, inheritsName, {}, {}};
    for (const IQxData::_HSScriptPtr* const child : element.children) {
        if (qxscript::IsMethod(child)) {
            action.methods.push_back(m_origins.at(child));
            if (!child->attributes.empty()) {
                m_firstMethods.try_emplace({&element, qxscript::MethodNameOf(*child)}, action.methods.back());
            }
        }
        if (qxscript::IsEvent(child)) action.events.push_back(m_origins.at(child));
    }
    m_actions.push_back(std::move(action));
}

const ScriptElement& ScenarioOutline::Subscribed(const std::string& method, const std::string& actionName) const {
    return *m_firstMethods.at({m_subscriptions.at({method, actionName}), method});
}

bool IsMethodOrEvent(const ScriptElement& element) {
    return element.name == qxscript::kMethod || element.name == qxscript::kEvent;
}

bool IsAction(const ScriptElement& element) {
    return element.depth == 1 && !IsMethodOrEvent(element);
}

const ScriptAttribute& MethodName(const ScriptElement& method) {
    return method.attributes[qxscript::kMethodName];
}

std::string WithoutPackage(const std::string& method) {
    const std::size_t dot = method.rfind('.');
    return dot == std::string::npos ? std::string() : method.substr(dot + 1);
}

std::string Meant(const std::string& word, const std::vector<std::string>& known) {
    const std::string letters = Letters(word);
    const auto same = std::find_if(known.begin(), known.end(), [&](const std::string& candidate) {
        return !letters.empty() && Letters(candidate) == letters;
    });
    return same == known.end() ? Suggestion(word, known) : *same;
}

}  // namespace qxlt
