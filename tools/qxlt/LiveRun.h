// A live run: waits for the processes, tracks them through the library's interface, prints the events as they fire, and
// ends when it is told to.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CaptureWriter.h"
#include "Common.h"
#include "EventView.h"
#include "Explainer.h"
#include "IQxCycleObserver.h"
#include "Interruption.h"
#include "JoinedScripts.h"
#include "Observers.h"
#include "Output.h"
#include "ProcessNames.h"
#include "RunAccount.h"
#include "ScriptOptions.h"

class QxLogTracker;

namespace qxlt {

struct RunOptions {
    ScriptOptions scripts;
    std::vector<std::string> processes;  // besides those that the scripts name
    bool fast = false;                   // a short pause after each dump
    double seconds = 0;                  // ends after that long, waiting included; 0: never
    std::string until;                   // ends when this event fires; empty: never
    std::string keep;                    // keeps the dumps in this directory; empty: nowhere
    bool failOnLoss = false;             // a run that lost something failed
};

class LiveRun final : private IQxCycleObserver {
public:
    // Throws a Failure for scripts that cannot be loaded, a directory that cannot be written and the like. `options`
    // must outlive the run.
    LiveRun(const RunOptions& options, const CommonOptions& common);
    ~LiveRun() override;

    // Returns the exit status. Throws a Failure (cannot start) when the time is over before the processes run.
    int Perform();

private:
    using Clock = Interruption::Clock;

    // The tracker's worker calls these.
    static int OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context);
    void OnCycle(bool primes) override;
    void OnDump(const std::string& process, const std::vector<char>& dump) override;
    void OnDecoded(const std::string& process, const QxCycle::Decoded& decoded) override;
    void OnCycleEnd() override;
    void Tell(const Fault& fault);

    std::set<std::string> Wanted() const;
    void RequireKnownEnd() const;
    std::vector<std::string> RegisterWaiting();
    bool WaitForProcesses();
    [[noreturn]] void GiveUp(const std::vector<std::string>& missing) const;
    void Watch(const std::string& process);
    void Load();
    void Track();
    void PrintCounts() const;

    const RunOptions& m_options;
    const CommonOptions& m_common;
    const JoinedScripts m_scripts;
    const ExplainOptions m_explain;
    Interruption m_interruption;
    Output m_output;
    EventPrinter m_printer;  // the worker's while it runs
    std::optional<CaptureWriter> m_capture;
    std::unique_ptr<IQxLogTracker> m_tracker;
    QxLogTracker& m_watchable;  // the same, where more than the interface is needed
    const Clock::time_point m_start = Clock::now();
    std::optional<Clock::time_point> m_end;
    std::set<std::string> m_waiting;  // processes that do not run yet
    std::set<std::string> m_warned;   // processes whose id has been complained about
    ProcessNames m_processes;
    RunAccount m_account;                                       // the worker's while it runs
    std::map<std::string, std::optional<LossCounts>> m_counts;  // of the cycle's dumps, by process
    ScriptPlaces m_places;
    ObserverList m_observers;
    KeyNote m_keys;
    std::optional<ErrorReporter> m_errors;
    std::optional<Explainer> m_explainer;
    std::uint64_t m_cycle = 0;  // the worker's while it runs
    std::atomic<bool> m_whole{true};
};

}  // namespace qxlt
