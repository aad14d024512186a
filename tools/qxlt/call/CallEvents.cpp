#include "CallEvents.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>

#include "CallFilter.h"
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

// What a condition on values of that type says that it does not seem to; empty when there is nothing. `isOther`: it
// compares what has no meaning.
struct Misfit {
    std::string text;
    bool isOther = false;
};

Misfit MisfitOf(qxscript::Type wanted, ValueType type) {
    const bool wantsText = wanted == qxscript::Type::String;
    switch (type.kind) {
        case ValueKind::Untold:
            return {};
        case ValueKind::Text:
            return wantsText ? Misfit() : Misfit{"a text; write what it is compared with in quotes", true};
        case ValueKind::Float:
            return {"a number with a fraction, which scenarios do not compare", true};
        case ValueKind::Bool:
        case ValueKind::Signed:
        case ValueKind::Unsigned:
            break;
    }
    if (wantsText) return {"a number; leave out the quotes", true};
    if (type.size <= sizeof(std::int32_t)) return {};
    return {"a number of 64 bits, of which scenarios compare the lower 32"};
}

Misfit MisfitOf(const WhereCondition& condition, const CallView& call) {
    std::vector<std::string> names;
    for (const CallValue& value : ValuesOf(call)) {
        names.push_back(value.Name());
        if (value.moment != MomentOf(condition.tag) || value.index != condition.index) continue;
        if (value.pairs->empty()) return {};
        Misfit misfit = MisfitOf(condition.type, value.TypeOf(0));
        if (!misfit.text.empty()) misfit.text = condition.Value() + " of " + MethodName(call) + " is " + misfit.text;
        return misfit;
    }
    // A call that ended by an exception has no result, and others of its method do.
    if (condition.tag == qxscript::Tag::Ret && call.location.args.retSize != 0) return {};
    const std::string has = names.empty() ? "no values" : CommaSeparated(names);
    return {MethodName(call) + " has no " + condition.Value() + "; it has " + has};
}

std::vector<const IQxData::_HSScriptPtr*> EventsOf(const IQxData::_HSScriptPtr& action) {
    std::vector<const IQxData::_HSScriptPtr*> events;
    std::copy_if(action.children.begin(), action.children.end(), std::back_inserter(events), qxscript::IsEvent);
    return events;
}

std::uint64_t LocationOf(const IQxData::HSCall& call) {
    return std::uint64_t{call.pid} << 32 | call.locId;
}

}  // namespace

CallEvents::CallEvents(const CallScript& script, IQxData::_HSScriptPtr& root, Tell tell)
    : m_script(script), m_tell(std::move(tell)), m_added(script.Calls().size()) {
    TakeActions(root);
}

void CallEvents::TakeActions(IQxData::_HSScriptPtr& root) {
    const auto count = static_cast<std::ptrdiff_t>(m_script.Calls().size());
    m_actions.assign(root.children.end() - count, root.children.end());
    m_conditions.clear();
    for (const IQxData::_HSScriptPtr* const action : m_actions) {
        std::size_t next = 0;
        for (const IQxData::_HSScriptPtr* const child : EventsOf(*action)) {
            if (next < m_script.Conditions().size()) m_conditions[child] = &m_script.Conditions()[next++];
        }
    }
}

// What was told of an event and a location is not told again. Nothing is told of the events of other scripts, which are
// found out anew.
void CallEvents::MoveTo(IQxData::_HSScriptPtr& root) {
    std::unordered_map<const IQxData::_HSScriptPtr*, const IQxData::_HSScriptPtr*> moved;
    const std::vector<IQxData::_HSScriptPtr*> before = m_actions;
    TakeActions(root);
    for (std::size_t i = 0; i < before.size(); ++i) {
        const auto events = EventsOf(*m_actions[i]);
        auto event = events.begin();
        for (const IQxData::_HSScriptPtr* const old : EventsOf(*before[i])) moved[old] = *event++;
        m_added[i].clear();
        for (const MethodNames::value_type& method : m_methods) AddTo(i, method);
    }
    for (auto& [key, isLeftOut] : std::exchange(m_leftOut, {})) {
        const auto event = moved.find(key.first);
        if (event != moved.end()) m_leftOut[{event->second, key.second}] = isLeftOut;
    }
}

void CallEvents::AddMethod(const IQxData::_HSCallLocation& location) {
    if (m_methods.size() >= kMostMethods) return;
    const auto [method, isNew] = m_methods.emplace(location.packageName, location.callerName);
    for (std::size_t i = 0; isNew && i < m_actions.size(); ++i) AddTo(i, *method);
}

// What is no pattern stands in the script already.
void CallEvents::AddTo(std::size_t action, const MethodNames::value_type& named) {
    const std::string& call = m_script.Calls()[action];
    const auto& [package, name] = named;
    if (!IsCallPattern(call) || !MatchesMethod(call, package, name)) return;
    if (!m_added[action].insert(name).second) return;
    auto method = std::make_unique<IQxData::_HSScriptPtr>();
    method->name = qxscript::kMethod;
    method->attributes.emplace_back(qxscript::kUsualMethodName, name);
    method->parent = m_actions[action];
    m_actions[action]->children.push_back(method.get());
    (void)method.release();  // now the action's
}

bool CallEvents::IsMisfit(const IQxData::_HSScriptPtr& event, const CallView& call) const {
    const auto condition = m_conditions.find(&event);
    if (condition == m_conditions.end()) return false;
    const Misfit misfit = MisfitOf(*condition->second, call);
    if (misfit.text.empty()) return false;
    const std::string leaves = misfit.isOther ? "; its calls are left out" : "";
    m_tell("--where \"" + Printable(condition->second->text) + "\": " + misfit.text + leaves);
    return misfit.isOther;
}

std::optional<bool> CallEvents::LeavesOut(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call) const {
    const auto known = m_leftOut.find({&event, LocationOf(call)});
    if (known != m_leftOut.end()) return known->second;
    return m_leftOut.size() < kMostMethods ? std::nullopt : std::make_optional(false);
}

bool CallEvents::Look(const IQxData::_HSScriptPtr& event, const CallView& call) {
    return m_leftOut[{&event, LocationOf(call.call)}] = IsMisfit(event, call);
}

void CallEvents::TellMissing() const {
    std::vector<std::string> names;
    for (const auto& [package, name] : m_methods) names.push_back(name);
    for (const std::string& call : m_script.Calls()) {
        const bool isThere = std::any_of(m_methods.begin(), m_methods.end(), [&call](const auto& method) {
            return IsCallPattern(call) ? MatchesMethod(call, method.first, method.second) : method.second == call;
        });
        if (isThere) continue;
        const std::string meant = Meant(call, names);
        m_tell("--call " + Printable(call) + ": no such method is recorded so far" +
               (meant.empty() ? "" : "; did you mean " + Printable(meant)) + "; qxlt list shows what is");
    }
}

}  // namespace qxlt
