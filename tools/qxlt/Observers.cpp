#include "Observers.h"

#include <algorithm>
#include <tuple>

#include "Common.h"
#include "EventRecord.h"

namespace qxlt {

namespace {

bool Same(const IQxData::HSCall& left, const IQxData::HSCall& right) {
    const auto numbers = [](const IQxData::HSCall& call) {
        return std::tie(call.time, call.exitTime, call.pid, call.tid, call.locId);
    };
    const auto values = [](const IQxData::HSCall& call) {
        return std::tie(call.args.in, call.args.out, call.args.ret);
    };
    return numbers(left) == numbers(right) && values(left) == values(right);
}

}  // namespace

void ObserverList::OnCall(const IQxData::HSCall& call, const std::string& callerName) {
    for (IQxEventObserver* const observer : m_observers) observer->OnCall(call, callerName);
}

void ObserverList::OnEvent(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, QxOutcome outcome,
                           const std::string& argument) {
    for (IQxEventObserver* const observer : m_observers) observer->OnEvent(event, call, outcome, argument);
}

void ObserverList::OnError(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, const std::string& error) {
    for (IQxEventObserver* const observer : m_observers) observer->OnError(event, call, error);
}

void ErrorReporter::OnError(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, const std::string& error) {
    if (!m_reported.insert(&event).second) return;
    const std::string& name = AttributeOf(event, "name");
    JsonObject record = JsonObject::object();
    AddText(record, "error", name);
    AddText(record, "what", error.substr(0, error.find(": ")));  // the numbers behind are the standard library's matter
    m_sink({m_places.Of(event).Text() + ": event \"" + name + "\" at time " + std::to_string(call.time) + ", " +
                EventRecord(event).ErrorText(error) + "; mend the attribute, further errors of this event are not told",
            std::move(record)});
}

void KeyFinder::OnCall(const IQxData::HSCall&, const std::string&) {
    m_copy = nullptr;
}

void KeyFinder::OnEvent(const IQxData::_HSScriptPtr&, const IQxData::HSCall& call, QxOutcome, const std::string&) {
    GoTo(call);
}

void KeyFinder::OnError(const IQxData::_HSScriptPtr&, const IQxData::HSCall& call, const std::string&) {
    GoTo(call);
}

void KeyFinder::GoTo(const IQxData::HSCall& call) {
    if (m_copy == &call) return;
    m_at = m_copy == nullptr ? m_calls.begin() : std::next(m_at);
    m_copy = &call;
    while (!Same(m_at->second, call)) ++m_at;
}

}  // namespace qxlt
