// Who watches a trace pass: a list of observers as one, and those that every command needs.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Fault.h"
#include "IQxEventObserver.h"
#include "QxData.h"
#include "ScriptPlaces.h"

namespace qxlt {

// Hands everything on to others, in the order in which they were added. They are not owned.
class ObserverList final : public IQxEventObserver {
public:
    void Add(IQxEventObserver& observer) { m_observers.push_back(&observer); }

    void OnCall(const IQxData::HSCall& call, const std::string& callerName) override;
    void OnEvent(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, QxOutcome outcome,
                 const std::string& argument) override;
    void OnError(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, const std::string& error) override;

private:
    std::vector<IQxEventObserver*> m_observers;
};

// Tells of the events whose evaluation throws: each once, with its place.
class ErrorReporter final : public IQxEventObserver {
public:
    // `places` must outlive the reporter.
    ErrorReporter(const ScriptPlaces& places, FaultSink sink) : m_places(places), m_sink(std::move(sink)) {}

    void OnCall(const IQxData::HSCall&, const std::string&) override {}
    void OnEvent(const IQxData::_HSScriptPtr&, const IQxData::HSCall&, QxOutcome, const std::string&) override {}
    void OnError(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, const std::string& error) override;

private:
    const ScriptPlaces& m_places;
    const FaultSink m_sink;
    std::unordered_set<const IQxData::_HSScriptPtr*> m_reported;
};

// Finds the key under which the store holds the call that is being evaluated. A pass works on copies, which it visits
// in the order of the keys: each new one stands further on in the store.
class KeyFinder final : public IQxEventObserver {
public:
    // `store` must outlive the finder and not change during a pass.
    explicit KeyFinder(QxData& store) : m_calls(*store.GetCallIMap()) {}

    // The key of the call that was evaluated last. Requires: there was one in this pass.
    unsigned long long Key() const { return m_at->first; }

    void OnCall(const IQxData::HSCall& call, const std::string& callerName) override;
    void OnEvent(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, QxOutcome outcome,
                 const std::string& argument) override;
    void OnError(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, const std::string& error) override;

private:
    using Calls = std::map<unsigned long long, IQxData::HSCall>;

    void GoTo(const IQxData::HSCall& call);

    const Calls& m_calls;
    const IQxData::HSCall* m_copy = nullptr;  // whose key was found last; null at the beginning of a pass
    Calls::const_iterator m_at;
};

}  // namespace qxlt
