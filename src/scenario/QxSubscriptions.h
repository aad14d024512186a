// Which parts of a script tree are actions, methods and events, and which action is evaluated for the calls of which
// method.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "IQxData.h"
#include "QxScriptWords.h"

// Lets a method's first subscription be found without making one.
struct QxSubscriptionOrder {
    using Key = std::pair<std::string, std::string>;
    using is_transparent = void;
    bool operator()(const Key& a, const Key& b) const { return a < b; }
    bool operator()(const Key& a, const std::string& method) const { return a.first < method; }
};

// Actions by method name and action name. They belong to the script tree.
using QxSubscriptions = std::map<std::pair<std::string, std::string>, IQxData::_HSScriptPtr*, QxSubscriptionOrder>;

namespace qxscript {

// The value of the element's last attribute of that name, which is the one that counts; null when it has none.
inline const std::string* FindAttribute(const IQxData::_HSScriptPtr& element, std::string_view name) {
    const auto last = std::find_if(element.attributes.rbegin(), element.attributes.rend(),
                                   [&](const auto& attribute) { return attribute.first == name; });
    return last == element.attributes.rend() ? nullptr : &last->second;
}

// Whether a child of an action is a method, or an event.
inline bool IsMethod(const IQxData::_HSScriptPtr* child) {
    return child != nullptr && child->name == std::string_view(kMethod);
}
inline bool IsEvent(const IQxData::_HSScriptPtr* child) {
    return child != nullptr && child->name == std::string_view(kEvent);
}

// The name that calls are matched with. Requires: the method has an attribute.
inline const std::string& MethodNameOf(const IQxData::_HSScriptPtr& method) {
    return method.attributes[kMethodName].second;
}

// Calls visit(action, name) for each action among the first `count` children of `root`, in their order: each child is
// one, whatever it is called. One without a name goes under that of the nearest before it.
template <typename Visit>
void ForEachAction(const IQxData::_HSScriptPtr& root, const Visit& visit, std::size_t count = SIZE_MAX) {
    static const std::string& none = *new std::string;
    const std::string* name = &none;
    for (std::size_t i = 0; i < std::min(count, root.children.size()); ++i) {
        IQxData::_HSScriptPtr* const action = root.children[i];
        if (action == nullptr) continue;
        if (const std::string* const own = FindAttribute(*action, kActionName)) name = own;
        visit(*action, *name);
    }
}

// Takes a method without attribute, and the name of its action.
using NamelessMethod = std::function<void(const IQxData::_HSScriptPtr& method, const std::string& actionName)>;

// Says whether calls of the method may come.
using WantedMethod = std::function<bool(const std::string& name)>;

// Subscribes the actions below `root` to their methods, in addition to what is there. A method is subscribed once under
// each action name, to the first action that has it. A method without attribute is passed over, and `nameless`, if
// there is one, called with it and the action's name. With `wanted` only those methods are subscribed; `count` is that
// of ForEachAction.
void Subscribe(const IQxData::_HSScriptPtr& root, QxSubscriptions& subscriptions,
               const NamelessMethod& nameless = nullptr, const WantedMethod& wanted = nullptr,
               std::size_t count = SIZE_MAX);

}  // namespace qxscript
