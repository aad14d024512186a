// Why events fired or did not: watches the evaluation and keeps, for each event of the scripts, how far the calls came
// and which values came nearest.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "EventRecord.h"
#include "Format.h"
#include "IQxEventObserver.h"
#include "Output.h"
#include "QxSubscriptions.h"
#include "ScriptPlaces.h"

namespace qxlt {

// What `--explain` asks for.
struct ExplainOptions {
    bool wanted = false;
    std::string event;  // explain only this one, call by call; empty: all of them
};

class Explainer final : public IQxEventObserver {
public:
    // Explains the events below `root`, or those of one name, whose calls are printed one by one as they are evaluated.
    // Output, root and places must outlive the explainer.
    Explainer(Format format, Output& output, const IQxData::_HSScriptPtr& root, const ScriptPlaces& places,
              std::string onlyEvent);

    // The cycle that the calls to come belong to.
    void SetCycle(std::uint64_t cycle) { m_cycle = cycle; }

    // From now on decisions are counted and no longer printed one by one.
    void SetQuiet() { m_quiet = true; }

    // Prints what was seen: a row for each event, and the reason for most of its refusals.
    void Print();

    // What became of the first event of that name, on one line: its place, how often it fired, and the reason for most
    // of its refusals.
    std::string ReasonOf(const std::string& event) const;

    void OnCall(unsigned long long key, const IQxData::HSCall& call, const std::string& callerName) override;
    void OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                 QxOutcome outcome, const std::string& argument) override;
    void OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call, QxStage stage,
                 const std::string& error) override;

private:
    // One event, and the name that its action's methods are subscribed under.
    struct Explained {
        explicit Explained(const IQxData::_HSScriptPtr& event, std::string name)
            : record(event), actionName(std::move(name)) {}
        EventRecord record;
        std::string actionName;
    };

    void AddAction(const IQxData::_HSScriptPtr& action, const std::string& name);
    EventRecord* Find(const IQxData::_HSScriptPtr& event);
    Reason ReasonFor(const Explained& event) const;
    Reason MethodReason(const Explained& event) const;
    const IQxData::_HSScriptPtr* SubscribedAction(const std::string& method, const std::string& actionName) const;
    void PrintTable();
    void PrintRow(const Explained& event, std::size_t nameWidth, bool isNarrow);
    void PrintJson(const Explained& event);
    void PrintDecision(const EventRecord& record, const IQxData::HSCall& call, const std::string& value,
                       const std::string& decision);

    const Format m_format;
    Output& m_output;
    const IQxData::_HSScriptPtr& m_root;
    const ScriptPlaces& m_places;
    const std::string m_onlyEvent;
    std::deque<Explained> m_events;  // in the order of the scripts; addresses stay
    std::unordered_map<const IQxData::_HSScriptPtr*, EventRecord*> m_byEvent;
    bool m_quiet = false;
    std::uint64_t m_cycle = 0;
    std::uint64_t m_calls = 0;
    std::unordered_set<std::string> m_methods;  // that calls were seen of
};

}  // namespace qxlt
