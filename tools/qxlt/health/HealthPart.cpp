#include "HealthPart.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <utility>

#include "Digest.h"
#include "Failure.h"
#include "Interruption.h"
#include "Messages.h"
#include "Platform.h"

namespace qxlt {

namespace {

constexpr std::chrono::seconds kBetweenWrites(1);

std::uint64_t WallNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

// 0 where the system does not tell.
std::uint64_t ResidentBytes() {
    std::ifstream file("/proc/self/statm");
    std::uint64_t pages = 0;
    std::uint64_t residentPages = 0;
    if (!(file >> pages >> residentPages)) return 0;
    return residentPages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

// What the file is called, without its folders and its ending.
std::string StemOf(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

void Require(const StateFile& file, const std::string& content, const char* option) {
    const std::string reason = file.Write(content);
    if (reason.empty()) return;
    throw Failure(kCannotStart, std::string(option) + " " + file.Path() + ": " + reason +
                                    "; name a file in a directory that can be written");
}

}  // namespace

HealthPart::HealthPart(const HealthFiles& files, Sources sources, Interruption& interruption)
    : m_sources(std::move(sources)),
      m_status(files.status),
      m_metrics(files.metrics),
      m_tally(m_sources.events),
      m_wakeup(interruption, [this] { WriteFiles(); }) {
    m_next.started = WallNow();
    m_next.events = m_tally.Events();
    Publish();
    Require(m_status, Json() + "\n", "--status-file");
    Require(m_metrics, HealthMetrics(Now(), StemOf(m_metrics.Path())), "--metrics-file");
    if (files.answers) interruption.Handle(SIGUSR1, [this] { Answer(); });
}

// Where the run could not begin, or ended without a cycle.
HealthPart::~HealthPart() {
    try {
        if (m_next.state != RunState::Ended) End();
    } catch (const std::exception& error) {
        PrintWarning(error.what());
    }
}

void HealthPart::OnWaiting(const std::vector<std::string>& missing) {
    m_next.waitingFor = missing;
    Publish();
    if (Clock::now() < m_nextWrite) return;
    m_nextWrite = Clock::now() + kBetweenWrites;
    WriteFiles();
}

// What runs already is no change that dumps come with.
void HealthPart::OnBegin(const ProcessNames& processes, const RunStart& start) {
    m_names = processes;
    m_next.waitingFor.clear();
    m_next.clock = start.clock;
    for (const auto& [name, id] : processes.Pids()) BeginProcess(name);
    Publish();
}

void HealthPart::BeginProcess(const std::string& name) {
    ProcessHealth& process = m_next.processes[name];
    process.since = WallNow();
    process.ids.clear();
    for (const ProcessStatus& status : ProcessesOf(name)) {
        if (status.isRunning) process.ids.push_back(status.pid);
    }
}

// What events counted that are no more is still true.
void HealthPart::OnRules(const RuleNumbers& rules, const std::vector<std::string>& events) {
    m_next.rules = DigestText(rules.Hash());
    m_tally.Expect(events);
    m_next.events = m_tally.Events();
}

void HealthPart::OnProcess(const LateProcess& process) {
    m_names.Add(process.name, process.pid);
    BeginProcess(process.name);
}

void HealthPart::OnCycle(std::uint64_t number, bool primes) {
    m_next.cycles = number - 1;
    m_primes = primes;
    m_beganCycle = Clock::now();
    m_isDecoding = false;
    m_tally.BeginCycle();
}

// All dumps have been fetched when the first of them is told.
void HealthPart::OnDump(const RunDump& dump) {
    if (!std::exchange(m_isDecoding, true)) m_beganWork = Clock::now();
    ProcessHealth& process = m_next.processes[dump.process];
    for (const ProcessChange& change : dump.changes) TakeChange(process, change);
}

void HealthPart::TakeChange(ProcessHealth& process, const ProcessChange& change) {
    const auto known = std::find(process.ids.begin(), process.ids.end(), change.pid);
    process.problem = change.state == ProcessState::Unreadable ? change.reason : "";
    if (change.state == ProcessState::Unreadable) return;
    const bool isGone = change.state == ProcessState::Ended;
    if (isGone == (known == process.ids.end())) return;
    if (isGone) {
        process.ids.erase(known);
    } else {
        process.ids.push_back(change.pid);
    }
    process.since = WallNow();
}

void HealthPart::OnCycleEnd() {
    ++m_next.cycles;
    if (m_primes) m_next.state = RunState::Running;
    const Clock::time_point now = Clock::now();
    m_next.cycle.Add(now - m_beganCycle);
    m_next.work.Add(m_isDecoding ? now - m_beganWork : Clock::duration(0));
    TakeCalls();
    TakeAccount();
    m_next.events = m_tally.Events();
    m_next.storeBytes = m_sources.storeBytes();
    m_next.figures = m_sources.figures();
    Publish();
    if (now < m_nextWrite) return;
    m_nextWrite = now + kBetweenWrites;
    m_wakeup.Call();
}

void HealthPart::TakeCalls() {
    for (const auto& [pid, calls] : m_tally.Calls()) {
        const auto process = m_next.processes.find(m_names.NameOf(pid));
        if (process != m_next.processes.end()) process->second.calls = calls;
    }
}

void HealthPart::TakeAccount() {
    m_next.callbacks = m_sources.account.Callbacks();
    for (auto& [name, process] : m_next.processes) {
        const auto row = m_sources.account.Rows().find(name);
        if (row == m_sources.account.Rows().end()) continue;
        if (m_sources.account.Known()) process.counts = row->second.counts.Without(row->second.history);
        process.bytesNotDecoded = row->second.bytesNotDecoded;
        process.eventsInError = row->second.eventsInError;
    }
}

// Others give it out when they end.
void HealthPart::OnEnd() {
    m_next.figures = m_sources.figures();
    End();
}

void HealthPart::End() {
    m_next.state = RunState::Ended;
    Publish();
    WriteFiles();
}

void HealthPart::Publish() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_shown = m_next;
}

RunHealth HealthPart::Now() const {
    std::unique_lock<std::mutex> lock(m_mutex);
    RunHealth health = m_shown;
    lock.unlock();
    health.now = WallNow();
    health.pid = static_cast<std::uint32_t>(getpid());
    health.residentBytes = ResidentBytes();
    return health;
}

void HealthPart::Answer() {
    WriteFiles();
    if (!m_status.IsAny()) PrintData(Json());
}

// One thread waits for interruptions; while the run ends that may be another one than writes the last state.
void HealthPart::WriteFiles() {
    const std::lock_guard<std::mutex> lock(m_writing);
    const RunHealth health = Now();
    if (m_status.IsAny()) Write(m_status, HealthJson(health) + "\n", m_statusFails);
    if (m_metrics.IsAny()) Write(m_metrics, HealthMetrics(health, StemOf(m_metrics.Path())), m_metricsFail);
}

// A full disk is told once, until there is room again.
void HealthPart::Write(const StateFile& file, const std::string& content, bool& isFailing) {
    const std::string reason = file.Write(content);
    const bool wasFailing = std::exchange(isFailing, !reason.empty());
    if (isFailing && !wasFailing) PrintWarning(file.Path() + ": not written, " + reason + "; it is tried again");
}

}  // namespace qxlt
