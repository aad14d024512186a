#include "Replayer.h"

#include <filesystem>
#include <utility>

#include "CaptureReader.h"
#include "DumpInput.h"
#include "DumpStarts.h"
#include "JsonLine.h"
#include "QxCycle.h"
#include "QxScriptScenario.h"

namespace qxlt {

namespace {

std::string NameOf(const std::string& file) {
    return std::filesystem::path(file).filename().string();
}

}  // namespace

Replayer::Replayer(const JoinedScripts& scripts, const ReplayInput& input, EventSink sink, FaultSink faults,
                   Progress& progress)
    : m_input(input),
      m_progress(progress),
      m_root(&LoadScripts(scripts, m_store)),
      m_run(m_store, m_processes, std::move(sink), std::move(faults)) {
    m_run.SetPlaces(scripts.PlacesIn(*m_root));
    m_run.EndAt(input.until, nullptr);
}

void Replayer::Run() {
    if (m_input.capture.empty()) {
        RunDumps();
    } else {
        RunCapture();
    }
    if (!m_run.IsOver()) EvaluateTheRest();
}

// What the first cycle primes with comes with the next one.
bool Replayer::Primes(bool asLive) const {
    if (!m_first) return false;
    return m_input.priming == ReplayInput::Priming::AsLive ? asLive : m_input.priming == ReplayInput::Priming::Yes;
}

void Replayer::RunCapture() {
    CaptureReader capture(m_input.capture);
    m_processes = capture.Processes();
    m_processes.Register(*m_store);
    RunStart start = capture.Start();
    if (m_input.history) start.since.reset();
    m_run.Begin(start);
    if (m_input.onlyCapture) capture.TellUnknownFolders([this](const Fault& fault) { Tell(fault); });
    auto late = capture.Late().begin();
    while (!m_run.IsOver() && capture.Next()) {
        m_progress.Show("cycle " + std::to_string(capture.Cycle()));
        m_run.BeginCycle(capture.Cycle());
        for (; late != capture.Late().end() && late->cycle <= capture.Cycle(); ++late) {
            if (late->since && !m_input.history) m_run.BeginOf(late->pid, *late->since);
        }
        Cycle(Primes(capture.Cycle() == 1), DumpsOf(capture));
    }
}

// What lies in the folder of a cycle. Before the first dump is decoded all of them are looked at.
std::vector<Replayer::Dump> Replayer::DumpsOf(const CaptureReader& capture) {
    const auto tell = [this](const Fault& fault) { Tell(fault); };
    std::vector<Dump> dumps;
    try {
        capture.TellUnknownFiles(tell);
    } catch (const Failure& failure) {
        TellUnreadable(failure, std::to_string(capture.Cycle()));
    }
    for (const auto& [process, pid] : m_processes.Pids()) {
        dumps.push_back(
            {process, FileOf(capture, process), capture.LossOf(process, tell), capture.ChangesOf(process, tell)});
        if (m_first && !dumps.back().file.empty()) RequireReadable({dumps.back().file});
    }
    return dumps;
}

std::string Replayer::FileOf(const CaptureReader& capture, const std::string& process) {
    try {
        return capture.DumpOf(process);
    } catch (const Failure& failure) {
        TellUnreadable(failure, process);
        return std::string();
    }
}

void Replayer::RunDumps() {
    RequireReadable(m_input.dumps);
    const auto [process, pid] = ProcessNames::Parse(m_input.process);
    m_processes.Add(process, pid);
    m_processes.Register(*m_store);
    RunStart start;
    if (!m_input.dumps.empty()) start = DumpStarts().Of(m_input.dumps.front());
    start.since.reset();  // loose dumps are evaluated whole
    m_run.Begin(start);
    std::uint64_t number = 0;
    for (const std::string& file : m_input.dumps) {
        if (m_run.IsOver()) return;
        ++number;
        m_progress.Show("dump " + std::to_string(number) + " of " + std::to_string(m_input.dumps.size()));
        m_run.BeginCycle(number);
        Cycle(Primes(false), {{process, file}});
    }
}

std::vector<char> Replayer::Read(const std::string& file) {
    try {
        return file.empty() ? std::vector<char>() : ReadDump(file);
    } catch (const Failure& failure) {
        TellUnreadable(failure, NameOf(file));
        return {};
    }
}

void Replayer::TellUnreadable(const Failure& failure, const std::string& name) {
    if (m_first) throw failure;
    JsonLine record;
    record.AddText("unreadable", name);
    Tell({failure.what(), std::move(record).Finish()});
}

void Replayer::Cycle(bool primes, const std::vector<Dump>& dumps) {
    QxCycle cycle(EventRun::OnEvent, &m_run, m_store);
    cycle.Parser().SetObserver(&m_run.Observer());
    for (const Dump& dump : dumps) {
        m_run.TellChanges(dump.process, dump.changes);
        std::vector<char> bytes = Read(dump.file);
        cycle.Decode(dump.process, bytes);
    }
    // Told once all are decoded: a later dump may have decoded what an earlier one left waiting.
    auto decoded = cycle.Dumps().begin();
    for (const Dump& dump : dumps) {
        m_run.AddDump({dump.process, dump.file, NameOf(dump.file), dump.counts}, *decoded++);
    }
    cycle.Finish(primes);
    m_run.EndCycle(primes);
    m_first = false;
}

// A capture may end with the cycle that primes: its calls are evaluated as with a next one that brings nothing.
void Replayer::EvaluateTheRest() {
    if (!m_run.HasCalls()) return;
    m_run.BeginCycle(m_run.Cycle() + 1);
    m_run.EndCycle(false);
}

void ForgetEvents() {
    QxEventMemory::Clear();
}

}  // namespace qxlt
