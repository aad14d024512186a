// A live run: waits for the processes, tracks them through the library's interface, prints the events as they fire, and
// ends when it is told to.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CommonOptions.h"
#include "EventLimits.h"
#include "EventRun.h"
#include "EventView.h"
#include "Explainer.h"
#include "HealthPart.h"
#include "ILineSink.h"
#include "IQxCycleObserver.h"
#include "IRunPart.h"
#include "Interruption.h"
#include "JoinedScripts.h"
#include "Output.h"
#include "ProcessStore.h"
#include "PublishOptions.h"
#include "RuleExchange.h"
#include "RunAccount.h"
#include "RunProcesses.h"
#include "ScriptOptions.h"

class QxLogTracker;

namespace qxlt {

struct RunOptions {
    ScriptOptions scripts;
    ShowOptions show;
    std::vector<std::string> processes;                // besides those that the scripts name
    bool fast = false;                                 // a short pause after each dump
    double seconds = 0;                                // ends after that long, waiting included; 0: never
    std::string until;                                 // ends when this event fires; empty: never
    std::vector<EventLimit> limits;                    // how many events are handed on
    std::function<std::unique_ptr<ILineSink>()> sink;  // opens what takes the lines; empty: they go to standard output
    std::vector<RunPartMaker> parts;  // what else takes part, in the order in which it is told of things
    PublishOptions publish;           // made a part of it by the command
    HealthFiles health;
    bool watchesRules = false;        // scripts that change take over, which is told
    bool failOnLoss = false;          // a run that lost something failed
    bool history = false;             // calls from before the start are evaluated, too
    ICallWatcher* watcher = nullptr;  // is shown all calls; not owned. Where it is there, events are not counted
    bool tellHistory = true;          // how many calls from before the start are left out
};

class LiveRun final : private IQxCycleObserver {
public:
    // Throws a Failure for scripts that cannot be loaded, a directory that cannot be written and the like. `options`
    // must outlive the run.
    LiveRun(const RunOptions& options, const CommonOptions& common);
    ~LiveRun() override;

    // Returns the exit status. Throws a Failure (cannot start) when the time is over before the processes run.
    int Perform();

    // Has the run end, without what was recorded since the last cycle. Any thread may call it.
    void End() { m_interruption.Request(); }

private:
    using Clock = Interruption::Clock;

    // The tracker's worker calls these, and whoever runs a cycle after it has ended.
    void OnCycle(bool primes) override;
    void OnDump(const std::string& process, const std::vector<char>& dump) override;
    void OnDecoded(const std::string& process, const QxCycle::Decoded& decoded) override;
    void OnCycleEnd() override;
    void Reach();
    void Fire(const EventView& view);
    void MakeParts();
    std::vector<HealthFigure> Figures() const;
    bool HasFailedPart() const;

    std::set<std::string> WantedBy(const JoinedScripts& scripts) const;
    void RegisterLate();
    bool WaitForProcesses();
    [[noreturn]] void GiveUp(const std::vector<std::string>& missing) const;
    void NoteTracked() const;
    void NoteReading();
    void ShowHeartbeat();
    std::uint64_t Fired() const;
    void Load();
    void Explain();
    void TakeRules();
    void ChangeScripts(RuleSet& rules);
    void WarnOfMissing(const JoinedScripts& scripts) const;
    void Track();
    Interruption::Cause TrackUntilTheEnd();
    void FetchTheRest();
    void PrintResults();
    void PrintCounts() const;
    bool HasFailed();

    RunStart Start() const;

    const std::optional<std::uint64_t> m_now = CallClockNow();  // when the run was started
    const ClockOffset m_clock = WallClockOffset();              // and where the wall clock stood then
    const RunOptions& m_options;
    const CommonOptions& m_common;
    const CallScript m_callScript;
    const JoinedScripts m_scripts;  // with which the run begins
    RuleExchange m_rules;
    EventDefinitions m_definitions;  // of those that run; the worker's while it runs, as the processes below
    const ExplainOptions m_explain;
    Interruption m_interruption;
    Progress m_progress;                      // the worker's while it runs
    const std::unique_ptr<ILineSink> m_sink;  // may be null
    Output m_output{&m_progress, m_sink.get()};
    EventPrinter m_printer;  // the worker's while it runs
    EventLimits m_limits;    // likewise
    std::shared_ptr<ProcessStore> m_store = std::make_shared<ProcessStore>();
    std::unique_ptr<QxLogTracker> m_tracker;
    const Clock::time_point m_start = Clock::now();
    std::optional<Clock::time_point> m_end;
    RunProcesses m_processes;
    RunAccount m_account;  // this and what follows is the worker's while it runs
    EventRun m_run;
    std::map<std::string, std::optional<LossCounts>> m_counts;  // of the cycle's dumps, by process
    std::optional<Explainer> m_explainer;
    std::vector<std::unique_ptr<IRunPart>> m_parts;
    bool m_primes = false;               // the cycle in progress
    std::size_t m_decoded = 0;           // its calls
    Clock::time_point m_beat = m_start;  // when the cycle before ended
    bool m_readingTold = false;          // whether it was told that events come from now on
    std::uint64_t m_cycle = 0;
    std::atomic<bool> m_ending{false};  // what is left is fetched
    std::atomic<bool> m_failed{false};  // besides what was wrong in the dumps
};

}  // namespace qxlt
