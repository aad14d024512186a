// Who watches a trace pass: a list of observers as one, and those that every command needs.
#pragma once

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Fault.h"
#include "IQxEventObserver.h"
#include "ScriptPlaces.h"

namespace qxlt {

// Hands everything on to others, in the order in which they were added. They are not owned.
class ObserverList final : public IQxEventObserver {
public:
    void Add(IQxEventObserver& observer) { m_observers.push_back(&observer); }

    void OnCall(unsigned long long key, const IQxData::HSCall& call, const std::string& callerName) override;
    void OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                 QxOutcome outcome, const std::string& argument) override;
    void OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call, QxStage stage,
                 const std::string& error) override;

private:
    std::vector<IQxEventObserver*> m_observers;
};

// Tells of the events whose evaluation throws: each once, with its place.
class ErrorReporter final : public IQxEventObserver {
public:
    // `places` must outlive the reporter.
    ErrorReporter(const ScriptPlaces& places, FaultSink sink) : m_places(places), m_sink(std::move(sink)) {}

    // Other events are evaluated from now on.
    void Forget() { m_reported.clear(); }

    void OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call, QxStage stage,
                 const std::string& error) override;

private:
    const ScriptPlaces& m_places;
    const FaultSink m_sink;
    std::unordered_set<const IQxData::_HSScriptPtr*> m_reported;
};

}  // namespace qxlt
