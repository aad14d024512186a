#include "ProgramRunner.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <system_error>
#include <utility>
#include <vector>

#include "Messages.h"
#include "Text.h"
#include "TimeFormat.h"

namespace qxlt {

namespace {

constexpr Rate kTold = {10, std::chrono::minutes(1)};  // failures
constexpr std::chrono::milliseconds kLook(20);         // where nobody tells that a program has ended
constexpr std::chrono::seconds kReaping(1);            // what was killed has ended by then, unless the system hangs
constexpr long kPidfdOpen = 434;                       // on all architectures; headers may be older than the system

int OpenWake() {
    const int wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return wake;
}

// Below 0 where the system is too old for it.
int OpenEnd(pid_t pid) {
    return static_cast<int>(syscall(kPidfdOpen, pid, 0));
}

std::string EndText(int status) {
    if (WIFSIGNALED(status)) return "was ended by signal " + std::to_string(WTERMSIG(status));
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}

std::string LimitText(std::chrono::milliseconds limit) {
    return SpanText(static_cast<std::uint64_t>(std::chrono::nanoseconds(limit).count()));
}

}  // namespace

ProgramRunner::Running::Running(Waiting from, pid_t id, Clock::time_point last)
    : name(std::move(from.name)), command(std::move(from.start.command)), pid(id), ended(OpenEnd(id)), end(last) {}

// A parent that has it ignored would leave no program to be waited for.
ProgramRunner::ProgramRunner(const Bounds& bounds) : m_bounds(bounds), m_wake(OpenWake()), m_told(kTold) {
    std::signal(SIGCHLD, SIG_DFL);
    m_thread = std::thread([this] { Loop(); });
}

ProgramRunner::~ProgramRunner() {
    if (m_thread.joinable()) End(Clock::now());
}

void ProgramRunner::Run(const std::string& name, ProgramStart start) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const std::size_t size = start.input.size();
        if (m_waiting.size() >= m_bounds.waiting || size > m_bounds.waitingBytes - m_waitingBytes) {
            ++m_counts.leftOut;
            if (!std::exchange(m_isFullTold, true)) {
                PrintWarning("--exec " + name + ": " + Counted(m_waiting.size(), "command") +
                             " wait already; others are left out until there is room, and counted");
            }
            return;
        }
        m_waitingBytes += size;
        m_waiting.push_back({name, std::move(start)});
    }
    Wake();
}

void ProgramRunner::Wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_wake.Get(), &one, sizeof one);
}

void ProgramRunner::Finish() {
    End(Clock::now() + m_bounds.limit);
    const std::uint64_t leftOut = Count().leftOut;
    if (leftOut > 0) PrintWarning("--exec: " + Counted(leftOut, "command") + " left out, for which no room was");
    const std::uint64_t untold = m_told.TakeHeld();
    if (untold > 0) PrintWarning("--exec: " + Counted(untold, "failure") + " not told");
}

ProgramRunner::Counts ProgramRunner::Count() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_counts;
}

bool ProgramRunner::Failed() const {
    const Counts counts = Count();
    return counts.failed > 0 || counts.leftOut > 0;
}

void ProgramRunner::End(Clock::time_point last) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_last = last;
    }
    Wake();
    m_thread.join();
}

void ProgramRunner::Loop() {
    for (;;) {
        while (std::optional<Waiting> next = Next()) StartNext(std::move(*next));
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_last && ((m_running.empty() && m_waiting.empty()) || Clock::now() > *m_last + kReaping)) return;
        }
        Await();
        Reap();
        EndLate();
    }
}

// The command to be started, if one may be.
std::optional<ProgramRunner::Waiting> ProgramRunner::Next() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_waiting.empty() || m_running.size() >= m_bounds.atOnce) return std::nullopt;
    Waiting next = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_waitingBytes -= next.start.input.size();
    m_isFullTold = false;
    return next;
}

void ProgramRunner::StartNext(Waiting next) {
    try {
        const pid_t pid = StartProgram(next.start);
        m_running.emplace_back(std::move(next), pid, Clock::now() + m_bounds.limit);
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_counts.started;
    } catch (const std::system_error& error) {
        Tell("--exec " + next.name + ": \"" + next.start.command + "\" could not be started: " + error.what());
    }
}

void ProgramRunner::Await() {
    std::vector<pollfd> sources = {{m_wake.Get(), POLLIN, 0}};
    for (const Running& program : m_running) sources.push_back({program.ended.Get(), POLLIN, 0});
    poll(sources.data(), sources.size(), TimeLeft());
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = read(m_wake.Get(), &count, sizeof count);
}

// Until something has to be looked at; below 0: somebody wakes the thread.
int ProgramRunner::TimeLeft() {
    std::optional<Clock::time_point> next;
    const auto require = [&next](Clock::time_point time) { next = next ? std::min(*next, time) : time; };
    const Clock::time_point now = Clock::now();
    for (const Running& program : m_running) {
        if (!program.ended.IsOpen() || !program.killed.empty()) require(now + kLook);
        if (program.killed.empty()) require(program.end);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_last && now < *m_last) require(*m_last);
    if (!next) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - now).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, INT_MAX));
}

void ProgramRunner::Reap() {
    for (auto program = m_running.begin(); program != m_running.end();) {
        int status = 0;
        const pid_t ended = waitpid(program->pid, &status, WNOHANG);
        if (ended == 0 || (ended < 0 && errno == EINTR)) {
            ++program;
            continue;
        }
        if (ended > 0) TellEnd(*program, status);
        program = m_running.erase(program);
    }
}

void ProgramRunner::TellEnd(const Running& program, int status) {
    if (status == 0) return;
    std::string text = "--exec " + program.name + ": \"" + program.command + "\" ";
    Tell(text + (program.killed.empty() ? EndText(status) : "was killed, since " + program.killed));
}

// When all have to end, nothing that waits is started any more.
void ProgramRunner::EndLate() {
    const Clock::time_point now = Clock::now();
    bool isLast = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        isLast = m_last && now >= *m_last;
        if (isLast) DropWaiting();
    }
    for (Running& program : m_running) {
        if (!program.killed.empty() || (now < program.end && !isLast)) continue;
        kill(-program.pid, SIGKILL);
        program.killed = now < program.end ? "the run was over" : "it ran longer than " + LimitText(m_bounds.limit);
    }
}

void ProgramRunner::DropWaiting() {
    if (m_waiting.empty()) return;
    m_counts.leftOut += m_waiting.size();
    m_waiting.clear();
    m_waitingBytes = 0;
}

void ProgramRunner::Tell(const std::string& text) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_counts.failed;
    }
    if (!m_told.Take(Clock::now())) return;
    const std::uint64_t untold = m_told.TakeHeld();
    PrintWarning(text + (untold == 0 ? "" : "; before it " + Counted(untold, "failure") + " not told"));
}

}  // namespace qxlt
