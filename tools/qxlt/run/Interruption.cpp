#include "Interruption.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace qxlt {

namespace {

sigset_t EndingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM}) sigaddset(&signals, number);
    // A signal that is ignored would be told of all the same, once it is taken here.
    struct sigaction hangup {};
    sigaction(SIGHUP, nullptr, &hangup);
    if (hangup.sa_handler != SIG_IGN) sigaddset(&signals, SIGHUP);
    return signals;
}

// A shell without job control starts background programs with SIGINT ignored; a run that can only be stopped by other
// means would be a trap. An ignored SIGHUP, on the other hand, is asked for.
sigset_t TakeEndingSignals() {
    std::signal(SIGINT, SIG_DFL);
    const sigset_t signals = EndingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

int Checked(int descriptor, const char* what) {
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), what);
    return descriptor;
}

int OpenSignals() {
    const sigset_t signals = TakeEndingSignals();
    return Checked(signalfd(-1, &signals, SFD_CLOEXEC), "signalfd");
}

int MillisecondsUntil(std::optional<Interruption::Clock::time_point> limit) {
    if (!limit) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*limit - Interruption::Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, INT_MAX));
}

template <typename Record>
bool Take(const pollfd& source) {
    Record record;
    return source.revents != 0 && read(source.fd, &record, sizeof record) == static_cast<ssize_t>(sizeof record);
}

}  // namespace

Interruption::Interruption() : m_signals(OpenSignals()), m_requests(Checked(eventfd(0, EFD_CLOEXEC), "eventfd")) {}

void Interruption::Request() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_requests.Get(), &one, sizeof one);
}

// The descriptor of the signals is told of one more.
void Interruption::Handle(int signal, std::function<void()> handler) {
    m_handlers.emplace_back(signal, std::move(handler));
    sigset_t signals = EndingSignals();
    for (const auto& [number, unused] : m_handlers) sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    Checked(signalfd(m_signals.Get(), &signals, SFD_CLOEXEC), "signalfd");
}

void Interruption::Watch(int descriptor, std::function<void()> handler) {
    m_sources.push_back({descriptor, std::move(handler)});
}

// Returns whether the signal is one that ends.
bool Interruption::TakeSignal() {
    signalfd_siginfo signal;
    if (read(m_signals.Get(), &signal, sizeof signal) != static_cast<ssize_t>(sizeof signal)) return false;
    for (const auto& [number, handler] : m_handlers) {
        if (number != static_cast<int>(signal.ssi_signo)) continue;
        handler();
        return false;
    }
    return true;
}

// Nothing is asked of standard output, which makes poll tell of its other end only; and it does so when it tells of
// nothing else.
Interruption::Cause Interruption::Wait(std::optional<Clock::time_point> limit) {
    for (;;) {
        std::vector<pollfd> sources = {
            {m_signals.Get(), POLLIN, 0}, {m_requests.Get(), POLLIN, 0}, {m_readerWatched ? STDOUT_FILENO : -1, 0, 0}};
        for (const Source& source : m_sources) sources.push_back({source.descriptor, POLLIN, 0});
        const int ready = poll(sources.data(), sources.size(), MillisecondsUntil(limit));
        if (ready <= 0) {  // also when the time left is more than poll takes
            if (limit && Clock::now() >= *limit) return Cause::TimeOver;
            continue;
        }
        if (sources[0].revents != 0 && TakeSignal()) return Cause::Signal;
        if (Take<std::uint64_t>(sources[1])) return Cause::Request;
        for (std::size_t i = 0; i < m_sources.size(); ++i) {
            if (sources[3 + i].revents != 0) m_sources[i].handler();
        }
        if (std::exchange(m_endsBySignal, false)) return Cause::Signal;
        if (sources[2].revents == 0) continue;
        m_readerWatched = false;
        return Cause::ReaderGone;
    }
}

}  // namespace qxlt
