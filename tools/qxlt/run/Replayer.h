// Runs kept dumps through the cycles of a tracker: what was decoded and traced live is decoded and traced again.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "EventRun.h"
#include "Failure.h"
#include "ProcessNames.h"
#include "ProcessStore.h"
#include "Progress.h"

namespace qxlt {

class CaptureReader;

// Which dumps are replayed.
struct ReplayInput {
    std::string capture;                                               // a directory; or else
    std::string process;                                               // the process, as ProcessNames reads it, and
    std::vector<std::string> dumps;                                    // its dumps, each one cycle
    enum class Priming { AsLive, Yes, No } priming = Priming::AsLive;  // of the first cycle
    bool history = false;     // what the run did not evaluate because it was older is evaluated, too
    bool onlyCapture = true;  // whatever else lies in the capture's directory is a stranger
    std::string until;        // ends when this event fires; empty: never
};

class Replayer final {
public:
    // Events go to `sink`, what is wrong in the input to `faults`. Throws a Failure (cannot start) for input that
    // cannot be read. Everything that is handed over must outlive the replayer.
    Replayer(const JoinedScripts& scripts, const ReplayInput& input, EventSink sink, FaultSink faults,
             Progress& progress);

    // The last of the scripts is that which --call stands for. Not owned.
    void SetCalls(const CallScript& script) { m_run.SetCalls(script, *m_root); }

    // Tells of methods that --call names and that were not recorded.
    void TellMissingCalls() const { m_run.TellMissingCalls(); }
    Replayer(const Replayer&) = delete;
    Replayer& operator=(const Replayer&) = delete;

    // Has the evaluation watched, too. Not owned.
    void SetExplainer(Explainer& explainer) { m_run.SetExplainer(explainer); }

    // Has account kept of what was lost. Not owned.
    void SetAccount(RunAccount& account) { m_run.SetAccount(account); }

    // Has all calls shown. Not owned.
    void SetCallWatcher(ICallWatcher& watcher) { m_run.SetCallWatcher(watcher); }

    // Has the evaluation watched besides. Not owned.
    void AddObserver(IQxEventObserver& observer) { m_run.AddObserver(observer); }

    // Has told what became of the processes.
    void SetChangeSink(ChangeSink sink) { m_run.SetChangeSink(std::move(sink)); }

    // The processes whose dumps are replayed, known once Run has begun.
    const ProcessNames& Processes() const { return m_processes; }

    // The loaded scripts.
    const IQxData::_HSScriptPtr& Root() const { return *m_root; }
    const ScriptPlaces& Places() const { return m_run.Places(); }

    // Replays all cycles. What cannot be read is a Failure (cannot start) as long as nothing has been replayed; later
    // it is a fault, and the rest goes on.
    void Run();

    // Whether nothing was wrong in the input so far.
    bool Whole() const { return m_run.Whole(); }

private:
    // One process's dump; no file: it has none in this cycle.
    struct Dump {
        std::string process;
        std::string file;
        std::optional<LossCounts> counts = std::nullopt;
        std::vector<ProcessChange> changes = {};
    };

    void RunCapture();
    void RunDumps();
    std::vector<Dump> DumpsOf(const CaptureReader& capture);
    std::string FileOf(const CaptureReader& capture, const std::string& process);
    std::vector<char> Read(const std::string& file);
    void Tell(const Fault& fault) { m_run.Tell(fault); }
    void TellUnreadable(const Failure& failure, const std::string& name);
    bool Primes(bool asLive) const;
    void Cycle(bool primes, const std::vector<Dump>& dumps);
    void EvaluateTheRest();

    const ReplayInput& m_input;
    Progress& m_progress;
    ProcessNames m_processes;
    std::shared_ptr<ProcessStore> m_store = std::make_shared<ProcessStore>();
    IQxData::_HSScriptPtr* m_root;
    EventRun m_run;
    bool m_first = true;  // no cycle has been replayed yet
};

// What events remember from call to call is shared by the whole process: forgets all of it, before an independent
// replay.
void ForgetEvents();

}  // namespace qxlt
