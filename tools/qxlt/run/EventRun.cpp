#include "EventRun.h"

#include <algorithm>
#include <utility>

#include "JsonLine.h"
#include "Messages.h"

namespace qxlt {

EventRun::EventRun(std::shared_ptr<ProcessStore> store, const ProcessNames& processes, EventSink sink, FaultSink faults)
    : m_store(std::move(store)), m_processes(processes), m_sink(std::move(sink)), m_faults(std::move(faults)) {
    m_observers.Add(m_errors);
}

void EventRun::SetExplainer(Explainer& explainer) {
    m_explainer = &explainer;
}

void EventRun::SetAccount(RunAccount& account) {
    m_account = &account;
    m_observers.Add(account);
}

// Locations come while dumps are decoded, and each trace pass subscribes anew.
void EventRun::SetCalls(const CallScript& script, IQxData::_HSScriptPtr& root) {
    if (script.Calls().empty()) return;
    m_calls.emplace(script, root, PrintWarning);
    m_store->SetSiteSink([this](const IQxData::_HSCallLocation& location) { m_calls->AddMethod(location); });
}

void EventRun::TellMissingCalls() const {
    if (m_calls) m_calls->TellMissing();
}

void EventRun::Begin(const RunStart& start) {
    m_since = start.since;
    m_lastSince = m_since.value_or(0);
    m_views.SetStart(start.time, start.clock);
}

void EventRun::ChangeScripts(ScriptPlaces places, IQxData::_HSScriptPtr& root) {
    m_places = std::move(places);
    m_errors.Forget();
    if (m_calls) m_calls->MoveTo(root);
}

void EventRun::BeginOf(unsigned short pid, std::uint64_t since) {
    m_sinceOf[pid] = since;
    m_lastSince = std::max(m_lastSince, since);
}

std::uint64_t EventRun::SinceOf(unsigned short pid) const {
    const auto found = m_sinceOf.find(pid);
    return found == m_sinceOf.end() ? m_since.value_or(0) : found->second;
}

void EventRun::EndAt(std::string event, std::function<void()> reached) {
    m_until = std::move(event);
    m_reached = std::move(reached);
}

void EventRun::BeginCycle(std::uint64_t number) {
    m_cycle = number;
    if (m_explainer != nullptr) m_explainer->SetCycle(number);
    if (m_account != nullptr) m_account->SetCycle(number);
}

void EventRun::AddDump(const Dump& dump, const QxCycle::Decoded& decoded) {
    DropHistory();
    const std::uint64_t history = HistoryOf(dump.process);
    if (m_account != nullptr) m_account->AddDump(dump.process, dump.counts, decoded.bytesNotDecoded, history);
    if (m_watcher != nullptr) {
        m_watcher->OnDump({m_cycle, dump.process, dump.counts, decoded.bytesNotDecoded, history});
    }
    if (!decoded.Whole()) Tell(DamageFault(dump.place, dump.name, decoded));
}

// Removes the calls that began before the run, and counts them. Their keys begin with the time.
void EventRun::DropHistory() {
    if (m_lastSince == 0) return;
    std::map<unsigned long long, IQxData::HSCall>& calls = *m_store->GetCallIMap();
    const auto end = calls.lower_bound(m_lastSince * QxData::kKeysPerTime);
    for (auto call = calls.begin(); call != end;) {
        // A damaged time may be so large that its key has wrapped round.
        const bool isHistory = call->second.time < SinceOf(call->second.pid);
        if (isHistory) ++m_history[call->second.pid];
        call = isHistory ? calls.erase(call) : std::next(call);
    }
}

// Of processes that share an id the first one has all.
std::uint64_t EventRun::HistoryOf(const std::string& process) {
    const auto pid = m_processes.Pids().find(process);
    if (pid == m_processes.Pids().end()) return 0;
    return std::exchange(m_history[pid->second], 0);
}

// What a cycle that primed left was traced if some dump has come since.
void EventRun::EndCycle(bool primes) {
    if (primes) {
        m_store->KeepMakers();
        ShowPrimed();
    } else if (HasCalls()) {
        TraceCalls();
    }
    if (m_watcher != nullptr) m_watcher->OnCycleEnd();
}

void EventRun::ShowPrimed() {
    if (m_watcher == nullptr) return;
    for (const auto& [key, call] : *m_store->GetCallIMap()) m_watcher->OnPrimed(m_views.Of(key, call));
}

// One more pass over the store, as after an empty dump.
void EventRun::TraceCalls() {
    QxCycle cycle(OnEvent, this, m_store);
    cycle.Parser().SetObserver(this);
    std::pair<int, char*> nothing(0, nullptr);
    cycle.Parser().Parse(nothing, m_store);
    cycle.Finish(false);
}

void EventRun::Tell(const Fault& fault) {
    if (!fault.isHarmless) m_whole = false;
    JsonLine record;
    record.Add("cycle", m_cycle);
    record.AddKeysOf(fault.record);
    m_faults({fault.text, std::move(record).Finish(), fault.isHarmless});
}

int EventRun::OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context) {
    static_cast<EventRun*>(context)->Send(name, value, call);
    return 1;
}

void EventRun::Send(const std::string& name, const std::string& value, const IQxData::HSCall& call) {
    if (m_over || m_leftOut) return;
    const RunAccount::Clock::time_point began = RunAccount::Clock::now();
    m_sink({m_cycle, name, value, m_views.Of(m_key, call)});
    if (m_account != nullptr) m_account->AddCallback(call.pid, began);
    if (!m_until.empty() && name == m_until) End();
}

void EventRun::End() {
    m_over = true;
    if (m_explainer != nullptr) m_explainer->SetQuiet();
    if (m_reached) m_reached();
}

void EventRun::TellChanges(const std::string& process, const std::vector<ProcessChange>& changes) {
    for (const ProcessChange& change : changes) {
        if (m_changes) m_changes({m_cycle, process, change});
    }
}

// The explanation is about all calls of the run, those behind its last event included.
void EventRun::OnCall(unsigned long long key, const IQxData::HSCall& call, const std::string& callerName) {
    if (m_explainer != nullptr) m_explainer->OnCall(key, call, callerName);
    if (m_over) return;
    m_observers.OnCall(key, call, callerName);
    if (m_watcher != nullptr) m_watcher->OnCall(m_views.Of(key, call));
}

// What is known of a call is put together for the first one from a location alone.
bool EventRun::IsLeftOut(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call) {
    if (!m_calls) return false;
    const std::optional<bool> known = m_calls->LeavesOut(event, call);
    return known ? *known : m_calls->Look(event, m_views.Of(key, call));
}

void EventRun::OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                       QxOutcome outcome, const std::string& argument) {
    m_key = key;
    m_leftOut = IsLeftOut(event, key, call);
    const QxOutcome told = m_leftOut ? QxOutcome::NoArgument : outcome;
    if (m_explainer != nullptr) m_explainer->OnEvent(event, key, call, told, argument);
    if (!m_over) m_observers.OnEvent(event, key, call, told, argument);
}

void EventRun::OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                       QxStage stage, const std::string& error) {
    if (m_explainer != nullptr) m_explainer->OnError(event, key, call, stage, error);
    if (!m_over) m_observers.OnError(event, key, call, stage, error);
}

}  // namespace qxlt
