// What defines the events of a script tree: whether an event is still the same after the scripts were changed, so that
// what is remembered under its name still means something.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "IQxData.h"

namespace qxlt {

// The definition of an event is its element with all attributes and children, and what decides which calls its action
// is evaluated for: the name that the action's methods are subscribed under, its attributes and its methods. Where it
// stands, what stands beside it, and how the text is laid out is no part of it. By event name, since what is remembered
// is; a name that stands in several places has a definition for each.
class EventDefinitions final {
public:
    // Of nothing.
    EventDefinitions() = default;

    // Of the events below the top element, which is not needed afterwards.
    explicit EventDefinitions(const IQxData::_HSScriptPtr& root);

    // The events of these definitions that have another one there, or none any more, by name.
    std::vector<std::string> ChangedIn(const EventDefinitions& other) const;

private:
    std::map<std::string, std::vector<std::uint64_t>> m_digests;  // by name, sorted
};

}  // namespace qxlt
