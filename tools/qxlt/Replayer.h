// Runs kept dumps through the cycles of a tracker: what was decoded and traced live is decoded and traced again.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "EventView.h"
#include "Explainer.h"
#include "Fault.h"
#include "JoinedScripts.h"
#include "Observers.h"
#include "ProcessNames.h"
#include "Progress.h"
#include "QxCycle.h"
#include "QxData.h"
#include "RunAccount.h"

namespace qxlt {

// Which dumps are replayed.
struct ReplayInput {
    std::string capture;             // a directory; or else
    std::string process;             // the process, as ProcessNames reads it, and
    std::vector<std::string> dumps;  // its dumps, each one cycle
    enum class Priming { AsLive, Yes, No } priming = Priming::AsLive;
};

class Replayer final {
public:
    // Events go to `sink`, what is wrong in the input to `faults`. Throws a Failure (cannot start) for input that
    // cannot be read. Everything that is handed over must outlive the replayer.
    Replayer(const JoinedScripts& scripts, const ReplayInput& input, EventSink sink, FaultSink faults,
             Progress& progress);
    Replayer(const Replayer&) = delete;
    Replayer& operator=(const Replayer&) = delete;

    // Has the evaluation watched, too. Not owned.
    void SetExplainer(Explainer& explainer);

    // Has account kept of what was lost. Not owned.
    void SetAccount(RunAccount& account);

    // The processes whose dumps are replayed, known once Run has begun.
    const ProcessNames& Processes() const { return m_processes; }

    // The loaded scripts.
    const IQxData::_HSScriptPtr& Root() const { return *m_root; }
    const ScriptPlaces& Places() const { return m_places; }

    // Replays all cycles. Returns whether nothing was wrong in the input.
    bool Run();

private:
    // One process's dump; no file: it has none in this cycle.
    struct Dump {
        std::string process;
        std::string file;
        std::optional<LossCounts> counts = std::nullopt;
    };

    static int OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context);
    void Send(const std::string& name, const std::string& value, const IQxData::HSCall& call);
    void RunCapture();
    void RunDumps();
    void Tell(const Fault& fault);
    void Cycle(std::uint64_t number, bool primes, const std::vector<Dump>& dumps);
    void TellDecoded(const Dump& dump, const QxCycle::Decoded& decoded);

    const ReplayInput& m_input;
    const EventSink m_sink;
    const FaultSink m_faults;
    Progress& m_progress;
    std::shared_ptr<QxData> m_store = std::make_shared<QxData>();
    IQxData::_HSScriptPtr* m_root;
    ScriptPlaces m_places;
    ObserverList m_observers;
    ErrorReporter m_errors{m_places, [this](const Fault& fault) { Tell(fault); }};
    KeyNote m_keys;
    Explainer* m_explainer = nullptr;
    RunAccount* m_account = nullptr;
    ProcessNames m_processes;
    std::uint64_t m_cycle = 0;
    bool m_whole = true;
};

// What events remember from call to call is shared by the whole process: forgets all of it, before an independent
// replay.
void ForgetEvents();

}  // namespace qxlt
