#include "QxSubscriptions.h"

namespace qxscript {

void Subscribe(const IQxData::_HSScriptPtr& root, QxSubscriptions& subscriptions, const NamelessMethod& nameless,
               const WantedMethod& wanted, std::size_t count) {
    const auto visit = [&](IQxData::_HSScriptPtr& action, const std::string& name) {
        for (const IQxData::_HSScriptPtr* const child : action.children) {
            if (!IsMethod(child)) continue;
            if (child->attributes.empty()) {
                if (nameless) nameless(*child, name);
            } else if (!wanted || wanted(MethodNameOf(*child))) {
                subscriptions.try_emplace({MethodNameOf(*child), name}, &action);
            }
        }
    };
    ForEachAction(root, visit, count);
}

}  // namespace qxscript
