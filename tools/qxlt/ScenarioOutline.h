// The scripts of one run as the checks look at them: their actions with methods and events, all under one top element.
#pragma once

#include <string>
#include <vector>

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

    // Their elements, but for those of scripts whose top element is far from a scenario's.
    const std::vector<const ScriptElement*>& Elements() const { return m_elements; }

    const std::vector<ScenarioAction>& Actions() const { return m_actions; }

private:
    void AddAction(const ScriptElement& element);

    const std::vector<const ScriptText*> m_scripts;
    std::vector<const ScriptElement*> m_elements;
    std::vector<ScenarioAction> m_actions;
    std::string m_name;  // of the latest action that has one
};

inline constexpr char kScenarioTop[] = "Scenario";
inline constexpr char kSessionTop[] = "session";

// Whether the element is a method or an event by its name.
bool IsMethodOrEvent(const ScriptElement& element);

// Whether the element is an action: a child of the top element, unless it is named as what belongs inside one.
bool IsAction(const ScriptElement& element);

// The name of the method that calls are matched with. Requires: it has an attribute.
const ScriptAttribute& MethodName(const ScriptElement& method);

// The word that was most likely meant: the same but for its case, or near; empty when none is.
std::string Meant(const std::string& word, const std::vector<std::string>& known);

}  // namespace qxlt
