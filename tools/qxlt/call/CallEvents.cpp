#include "CallEvents.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "CallValues.h"
#include "QxSubscriptions.h"
#include "ScenarioOutline.h"
#include "Text.h"

namespace qxlt {

namespace {

CallValue::Moment MomentOf(qxscript::Tag tag) {
    if (tag == qxscript::Tag::Ret) return CallValue::Moment::Ret;
    return tag == qxscript::Tag::In ? CallValue::Moment::In : CallValue::Moment::Out;
}

// Why a condition on values of that type says something else than it seems to; empty when it does not.
std::string MisfitOf(qxscript::Type wanted, ValueType type) {
    switch (type.kind) {
        case ValueKind::Untold:
            return std::string();
        case ValueKind::Text:
            return wanted == qxscript::Type::String ? "" : "a text; write what it is compared with in quotes";
        case ValueKind::Float:
            return "a number with a fraction, which scenarios do not compare";
        case ValueKind::Bool:
        case ValueKind::Signed:
        case ValueKind::Unsigned:
            break;
    }
    if (wanted == qxscript::Type::String) return "a number; leave out the quotes";
    return type.size > sizeof(std::int32_t) ? "a number of 64 bits, of which scenarios compare the lower 32" : "";
}

std::string MisfitOf(const WhereCondition& condition, const CallView& call) {
    const std::vector<CallValue> values = ValuesOf(call);
    std::vector<std::string> names;
    for (const CallValue& value : values) {
        names.push_back(value.Name());
        if (value.moment != MomentOf(condition.tag) || value.index != condition.index) continue;
        if (value.pairs->empty()) return std::string();
        const std::string misfit = MisfitOf(condition.type, value.TypeOf(0));
        return misfit.empty() ? "" : condition.Value() + " of " + MethodName(call) + " is " + misfit;
    }
    // A call that ended by an exception has no result, and others of its method do.
    if (condition.tag == qxscript::Tag::Ret && call.location.args.retSize != 0) return std::string();
    return MethodName(call) + " has no " + condition.Value() + "; it has " +
           (names.empty() ? "no values" : CommaSeparated(names));
}

}  // namespace

CallEvents::CallEvents(const CallScript& script, IQxData::_HSScriptPtr& root, Tell tell)
    : m_script(script), m_tell(std::move(tell)), m_added(script.Calls().size()) {
    const auto count = static_cast<std::ptrdiff_t>(script.Calls().size());
    m_actions.assign(root.children.end() - count, root.children.end());
    for (const IQxData::_HSScriptPtr* const action : m_actions) {
        std::size_t next = 0;
        for (const IQxData::_HSScriptPtr* const child : action->children) {
            if (qxscript::IsEvent(child) && next < script.Conditions().size()) {
                m_conditions[child] = &script.Conditions()[next++];
            }
        }
    }
}

void CallEvents::AddMethod(const IQxData::_HSCallLocation& location) {
    const bool isNew =
        m_methods.size() < kMostMethods && m_methods.emplace(location.packageName, location.callerName).second;
    for (std::size_t i = 0; isNew && i < m_actions.size(); ++i) AddTo(i, location);
}

// What is no pattern stands in the script already.
void CallEvents::AddTo(std::size_t action, const IQxData::_HSCallLocation& location) {
    const std::string& call = m_script.Calls()[action];
    if (!IsCallPattern(call) || !MatchesCall(call, location.packageName, location.callerName)) return;
    if (!m_added[action].insert(location.callerName).second) return;
    auto method = std::make_unique<IQxData::_HSScriptPtr>();
    method->name = qxscript::kMethod;
    method->attributes.emplace_back(qxscript::kUsualMethodName, location.callerName);
    method->parent = m_actions[action];
    m_actions[action]->children.push_back(method.get());
    (void)method.release();  // now the action's
}

bool CallEvents::IsFirst(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call) {
    const std::uint64_t location = std::uint64_t{call.pid} << 32 | call.locId;
    return m_looked.size() < kMostMethods && m_looked.emplace(&event, location).second;
}

void CallEvents::Look(const IQxData::_HSScriptPtr& event, const CallView& call) const {
    const auto condition = m_conditions.find(&event);
    if (condition == m_conditions.end()) return;
    const std::string misfit = MisfitOf(*condition->second, call);
    if (!misfit.empty()) m_tell("--where \"" + Printable(condition->second->text) + "\": " + misfit);
}

void CallEvents::TellMissing() const {
    std::vector<std::string> names;
    for (const auto& [package, name] : m_methods) names.push_back(name);
    for (const std::string& call : m_script.Calls()) {
        const bool isThere = std::any_of(m_methods.begin(), m_methods.end(), [&call](const auto& method) {
            return IsCallPattern(call) ? MatchesCall(call, method.first, method.second) : method.second == call;
        });
        if (isThere) continue;
        const std::string meant = Meant(call, names);
        m_tell("--call " + Printable(call) + ": no such method is recorded so far" +
               (meant.empty() ? "" : "; did you mean " + Printable(meant)) + "; qxlt list shows what is");
    }
}

}  // namespace qxlt
