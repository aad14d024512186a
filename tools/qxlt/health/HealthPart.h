// Keeps a run's health, and gives it out: in a file, as metrics in another one, and whenever SIGUSR1 asks.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "EvaluationTally.h"
#include "IRunPart.h"
#include "RunAccount.h"
#include "RunHealth.h"
#include "StateFile.h"
#include "Wakeup.h"

namespace qxlt {

struct HealthFiles {
    std::string status;    // the JSON object; empty: none
    std::string metrics;   // empty: none
    bool answers = false;  // SIGUSR1 asks for it
};

class HealthPart final : public IRunPart {
public:
    // What it is made of. All must outlive the part.
    struct Sources {
        const std::vector<std::string>& events;  // of the scenarios: those that are not evaluated are told, too
        const RunAccount& account;               // the worker's while it runs, as are the next two
        std::function<std::uint64_t()> storeBytes;
        std::function<std::vector<HealthFigure>()> figures;
    };

    // Writes the files, and throws a Failure (cannot start) when that is not possible.
    HealthPart(const HealthFiles& files, Sources sources, Interruption& interruption);
    HealthPart(const HealthPart&) = delete;
    HealthPart& operator=(const HealthPart&) = delete;
    // Writes the files once more.
    ~HealthPart() override;

    void OnWaiting(const std::vector<std::string>& missing) override;
    void OnBegin(const ProcessNames& processes, const RunStart& start) override;
    void OnRules(const RuleNumbers& rules, const std::vector<std::string>& events) override;
    void OnProcess(const LateProcess& process) override;
    void OnCycle(std::uint64_t number, bool primes) override;
    void OnDump(const RunDump& dump) override;
    void OnCycleEnd() override;
    void OnEnd() override;
    // What the others tell of themselves has changed with their end.
    void OnEnded() override { OnEnd(); }
    IQxEventObserver* Observer() override { return &m_tally; }

    // The run's health now, as the JSON object and in a few words. Any thread.
    std::string Json() const { return HealthJson(Now()); }
    std::string Summary() const { return HealthSummary(Now()); }

private:
    using Clock = std::chrono::steady_clock;

    void BeginProcess(const std::string& name);
    void TakeChange(ProcessHealth& process, const ProcessChange& change);
    void TakeCalls();
    void TakeAccount();
    void Publish();
    RunHealth Now() const;
    void Answer();
    void WriteFiles();
    void Write(const StateFile& file, const std::string& content, bool& isFailing);
    void End();

    const Sources m_sources;
    const StateFile m_status;
    const StateFile m_metrics;

    RunHealth m_next;  // this and what follows is the worker's while it runs
    bool m_primes = false;
    EvaluationTally m_tally;
    ProcessNames m_names;
    Clock::time_point m_beganCycle;
    Clock::time_point m_beganWork;
    bool m_isDecoding = false;  // in this cycle
    Clock::time_point m_nextWrite;

    mutable std::mutex m_mutex;
    RunHealth m_shown;  // guarded by m_mutex

    std::mutex m_writing;        // held while the files are written
    bool m_statusFails = false;  // guarded by m_writing, as is the next
    bool m_metricsFail = false;
    Wakeup m_wakeup;  // last: what it calls uses the others
};

}  // namespace qxlt
