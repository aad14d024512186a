// A scenario to start from: an event for each value that a program records.
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Inventory.h"
#include "QxEventWords.h"

namespace qxlt {

class StarterScript final {
public:
    // `recording` must outlive this object.
    explicit StarterScript(const Inventory& inventory) : m_inventory(inventory) {}

    // The script's text. Every event in it fires when the dumps that it comes from are replayed. What no XML text can
    // name is left out.
    std::string Text();

private:
    struct Action;
    using Attributes = std::vector<std::pair<QxEventWords::Attribute, std::string>>;

    void Add(const Action& action);
    void AddMethod(const std::string& method);
    void AddEvents(const Action& action, qxscript::Tag tag);
    void AddEvent(const std::string& wantedName, const Attributes& attributes);
    std::string UniqueName(const std::string& wanted);

    const Inventory& m_inventory;
    std::set<std::string> m_names;    // of actions and events so far
    std::set<std::string> m_methods;  // so far
    std::string m_text;
};

}  // namespace qxlt
