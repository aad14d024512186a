// What live tracking and replay have in common: from the decoded dump of a cycle to the event that is printed. Both
// print the same for the same dumps because both are this.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CallEvents.h"
#include "CallScript.h"
#include "CallViews.h"
#include "EventView.h"
#include "Explainer.h"
#include "Fault.h"
#include "ICallWatcher.h"
#include "JoinedScripts.h"
#include "Lifecycle.h"
#include "Observers.h"
#include "ProcessNames.h"
#include "ProcessStore.h"
#include "QxCycle.h"
#include "RunAccount.h"
#include "RunStart.h"

namespace qxlt {

// Every call that began after the start of the run is evaluated: the first cycle of a tracker only primes, and later
// ones trace nothing unless a dump came, so that the calls of a program which then falls silent would never be looked
// at. What began before the start is not evaluated; it is counted.
class EventRun final : private IQxEventObserver {
public:
    // What comes with the dump of a process, which may be none.
    struct Dump {
        const std::string& process;
        const std::string& place;  // where it stands, and
        const std::string& name;   // what it is called, should it be damaged
        const std::optional<LossCounts>& counts;
    };

    // Events go to `sink`, what is wrong in the input to `faults`. What is handed over must outlive the run.
    EventRun(std::shared_ptr<ProcessStore> store, const ProcessNames& processes, EventSink sink, FaultSink faults);

    // Who is told of the cycles and watches the evaluation, too. Not owned; before the first cycle.
    void SetExplainer(Explainer& explainer);
    void SetAccount(RunAccount& account);

    // Who is shown all calls that are evaluated. Not owned; before the first cycle.
    void SetCallWatcher(ICallWatcher& watcher) { m_watcher = &watcher; }

    // Has the scenario that --call stands for kept up with what is recorded. `root` is the loaded scripts' top element,
    // `script` the last of them. Not owned; before the first cycle.
    void SetCalls(const CallScript& script, IQxData::_HSScriptPtr& root);

    // Tells of methods that --call names and that are not recorded so far.
    void TellMissingCalls() const;

    // Who watches the evaluation besides. Not owned; before the first cycle.
    void AddObserver(IQxEventObserver& observer) { m_observers.Add(observer); }

    // Takes over the places of the scripts that were loaded into the store. Before the first cycle.
    void SetPlaces(ScriptPlaces places) { m_places = std::move(places); }
    const ScriptPlaces& Places() const { return m_places; }

    // Other scripts were loaded in the place of those, which are still there. Between two cycles.
    void ChangeScripts(ScriptPlaces places, IQxData::_HSScriptPtr& root);

    // When the run began: which calls are evaluated, and what time of day events get. Before the first cycle.
    void Begin(const RunStart& start);

    // Has calls of the processes of that id evaluated that began then or later, since they were not tracked before.
    void BeginOf(unsigned short pid, std::uint64_t since);

    // After the first event of that name no event is handed on and no error told. `reached` is called with it.
    void EndAt(std::string event, std::function<void()> reached);

    // Who is told what became of the processes.
    void SetChangeSink(ChangeSink sink) { m_changes = std::move(sink); }

    // For the parser of a cycle: the callback, whose context is the run, and the observer.
    static int OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context);
    IQxEventObserver& Observer() { return *this; }

    // A cycle: its beginning, each dump once all were decoded, and its end, after the tracing. One that primes raises
    // no events.
    void BeginCycle(std::uint64_t number);
    void TellChanges(const std::string& process, const std::vector<ProcessChange>& changes);
    void AddDump(const Dump& dump, const QxCycle::Decoded& decoded);
    void EndCycle(bool primes);

    // Whether calls wait for the next cycle.
    bool HasCalls() const { return !m_store->GetCallIMap()->empty(); }

    // Reports what is wrong, with the number of the cycle.
    void Tell(const Fault& fault);

    std::uint64_t Cycle() const { return m_cycle; }

    // Whether nothing was wrong in the input.
    bool Whole() const { return m_whole; }

    // Whether the event that ends the run has fired.
    bool IsOver() const { return m_over; }

private:
    void OnCall(unsigned long long key, const IQxData::HSCall& call, const std::string& callerName) override;
    void OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                 QxOutcome outcome, const std::string& argument) override;
    void OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call, QxStage stage,
                 const std::string& error) override;

    void Send(const std::string& name, const std::string& value, const IQxData::HSCall& call);
    bool IsLeftOut(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call);
    void End();
    void DropHistory();
    std::uint64_t SinceOf(unsigned short pid) const;
    std::uint64_t HistoryOf(const std::string& process);
    void ShowPrimed();
    void TraceCalls();

    const std::shared_ptr<ProcessStore> m_store;
    const ProcessNames& m_processes;
    CallViews m_views{*m_store, m_processes};
    const EventSink m_sink;
    const FaultSink m_faults;
    ChangeSink m_changes;
    ScriptPlaces m_places;
    ObserverList m_observers;
    ErrorReporter m_errors{m_places, [this](const Fault& fault) { Tell(fault); }};
    Explainer* m_explainer = nullptr;
    RunAccount* m_account = nullptr;
    ICallWatcher* m_watcher = nullptr;
    std::optional<CallEvents> m_calls;
    std::optional<std::uint64_t> m_since;
    std::map<unsigned short, std::uint64_t> m_sinceOf;  // where it is another time
    std::uint64_t m_lastSince = 0;                      // of all of these
    std::map<unsigned short, std::uint64_t> m_history;  // calls that were dropped in this cycle and are not told yet
    unsigned long long m_key = 0;  // of the call that is being evaluated: an event is sent right after that
    bool m_leftOut = false;        // its event is left out
    std::string m_until;           // empty: no event ends the run
    std::function<void()> m_reached;
    std::uint64_t m_cycle = 0;
    bool m_over = false;
    bool m_whole = true;
};

}  // namespace qxlt
