#include "Replayer.h"

#include <filesystem>
#include <utility>

#include "CaptureReader.h"
#include "DumpInput.h"
#include "QxScriptScenario.h"

namespace qxlt {

namespace {

bool Primes(ReplayInput::Priming priming, bool asLive) {
    return priming == ReplayInput::Priming::AsLive ? asLive : priming == ReplayInput::Priming::Yes;
}

}  // namespace

Replayer::Replayer(const JoinedScripts& scripts, const ReplayInput& input, EventSink sink, FaultSink faults,
                   Progress& progress)
    : m_input(input),
      m_sink(std::move(sink)),
      m_faults(std::move(faults)),
      m_progress(progress),
      m_root(&LoadScripts(scripts, m_store)),
      m_places(scripts.PlacesIn(*m_root)) {
    m_observers.Add(m_keys);
    m_observers.Add(m_errors);
}

void Replayer::SetExplainer(Explainer& explainer) {
    m_explainer = &explainer;
    m_observers.Add(explainer);
}

void Replayer::SetAccount(RunAccount& account) {
    m_account = &account;
    m_observers.Add(account);
}

bool Replayer::Run() {
    if (m_input.capture.empty()) {
        RunDumps();
    } else {
        RunCapture();
    }
    return m_whole;
}

void Replayer::RunCapture() {
    CaptureReader capture(m_input.capture);
    m_processes = capture.Processes();
    m_processes.Register(*m_store);
    while (capture.Next()) {
        m_cycle = capture.Cycle();
        m_progress.Show("cycle " + std::to_string(m_cycle));
        const auto tell = [this](const Fault& fault) { Tell(fault); };
        capture.TellStrangers(tell);
        std::vector<Dump> dumps;
        for (const auto& [process, pid] : m_processes.Pids()) {
            dumps.push_back({process, capture.DumpOf(process), capture.LossOf(process, tell)});
        }
        Cycle(capture.Cycle(), Primes(m_input.priming, capture.Cycle() == 1), dumps);
    }
}

void Replayer::RunDumps() {
    RequireReadable(m_input.dumps);
    const auto [process, pid] = ProcessNames::Parse(m_input.process);
    m_processes.Add(process, pid);
    m_processes.Register(*m_store);
    std::uint64_t number = 0;
    for (const std::string& file : m_input.dumps) {
        ++number;
        m_progress.Show("dump " + std::to_string(number) + " of " + std::to_string(m_input.dumps.size()));
        Cycle(number, number == 1 && Primes(m_input.priming, false), {{process, file}});
    }
}

void Replayer::Tell(const Fault& fault) {
    m_whole = false;
    JsonObject record = {{"cycle", m_cycle}};
    record.update(fault.record);
    m_faults({fault.text, std::move(record)});
}

void Replayer::Cycle(std::uint64_t number, bool primes, const std::vector<Dump>& dumps) {
    m_cycle = number;
    if (m_explainer != nullptr) m_explainer->SetCycle(number);
    if (m_account != nullptr) m_account->SetCycle(number);
    QxCycle cycle(OnEvent, this, m_store);
    cycle.Parser().SetObserver(&m_observers);
    for (const Dump& dump : dumps) {
        std::vector<char> bytes = dump.file.empty() ? std::vector<char>() : ReadDump(dump.file);
        cycle.Decode(dump.process, bytes);
    }
    // Told once all are decoded: a later dump may have decoded what an earlier one left waiting.
    auto decoded = cycle.Dumps().begin();
    for (const Dump& dump : dumps) TellDecoded(dump, *decoded++);
    cycle.Finish(primes);
}

void Replayer::TellDecoded(const Dump& dump, const QxCycle::Decoded& decoded) {
    if (m_account != nullptr) m_account->AddDump(dump.process, dump.counts, decoded.bytesNotDecoded);
    const std::string name = std::filesystem::path(dump.file).filename().string();
    if (!decoded.Whole()) Tell(DamageFault(dump.file, name, decoded));
}

int Replayer::OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context) {
    static_cast<Replayer*>(context)->Send(name, value, call);
    return 1;
}

void Replayer::Send(const std::string& name, const std::string& value, const IQxData::HSCall& call) {
    const RunAccount::Clock::time_point began = RunAccount::Clock::now();
    const QxLocation& location = m_store->Location(call.locId, call.pid);
    m_sink({m_cycle, name, value, {call, location.site, m_processes.NameOf(call.pid), m_keys.Key()}});
    if (m_account != nullptr) m_account->AddCallback(call.pid, began);
}

void ForgetEvents() {
    m_EventValues.clear();
    m_DconditionValues.clear();
}

}  // namespace qxlt
