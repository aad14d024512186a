// The scripts of one run as the checks look at them: their actions with methods and events, all under one top element.
// What is an action, a method or an event, and what is subscribed, is asked of the library.
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "IQxData.h"
#include "QxSubscriptions.h"
#include "ScriptText.h"

namespace qxlt {

struct ScenarioAction {
    const ScriptElement* element;
    std::string name;   // under which its methods are subscribed
    bool inheritsName;  // has none of its own
    std::vector<const ScriptElement*> methods;
    std::vector<const ScriptElement*> events;
};

class ScenarioOutline final {
public:
    // The scripts must outlive the outline.
    explicit ScenarioOutline(std::vector<const ScriptText*> scripts);

    // All scripts, in order.
    const std::vector<const ScriptText*>& Scripts() const { return m_scripts; }

    // The top element that says what runs all of them: the first script's. Null when no script has one.
    const ScriptElement* Top() const;

    // The elements of all scripts, unless that top element is a session's. A first script whose top element is far from
    // a scenario's is left out.
    const std::vector<const ScriptElement*>& Elements() const { return m_elements; }

    // Their actions. A method or event that stands where an action should is one, too.
    const std::vector<ScenarioAction>& Actions() const { return m_actions; }

    // The method that is subscribed under its name and that action name: the first of several, the others are dropped.
    // Requires: an action of that name has a method of that name.
    const ScriptElement& Subscribed(const std::string& method, const std::string& actionName) const;

private:
    void AddScript(const ScriptText& script);
    IQxData::_HSScriptPtr& Copy(const ScriptElement& element, IQxData::_HSScriptPtr& parent);
    void AddAction(const IQxData::_HSScriptPtr& element, const std::string& name);

    const std::vector<const ScriptText*> m_scripts;
    std::vector<const ScriptElement*> m_elements;
    IQxData::_HSScriptPtr m_root;  // what the library would read of them: actions, and what stands right below them
    std::unordered_map<const IQxData::_HSScriptPtr*, const ScriptElement*> m_origins;
    QxSubscriptions m_subscriptions;  // to actions of that tree
    // Of each action and name the first method: looking through the others for each of them would cost their square.
    std::map<std::pair<const IQxData::_HSScriptPtr*, std::string>, const ScriptElement*> m_firstMethods;
    std::vector<ScenarioAction> m_actions;
};

// Whether the element is a method or an event by its name.
bool IsMethodOrEvent(const ScriptElement& element);

// Whether the element is meant as an action: a child of the top element that is not named as what belongs inside one.
bool IsAction(const ScriptElement& element);

// The name of the method that calls are matched with. Requires: it has an attribute.
const ScriptAttribute& MethodName(const ScriptElement& method);

// What stands behind the last dot of a method's name; empty when there is none.
std::string WithoutPackage(const std::string& method);

// The word that was most likely meant: the same but for its case and for what is no letter or digit, or near; empty
// when none is.
std::string Meant(const std::string& word, const std::vector<std::string>& known);

}  // namespace qxlt
