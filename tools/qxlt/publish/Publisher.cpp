#include "Publisher.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <exception>
#include <system_error>
#include <utility>

#include "Messages.h"

namespace qxlt {

namespace {

int MakeWake() {
    const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return descriptor;
}

// No signal is the thread's: they are taken elsewhere, and a broker that has gone ends nothing.
class NoSignals final {
public:
    NoSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    NoSignals(const NoSignals&) = delete;
    NoSignals& operator=(const NoSignals&) = delete;
    ~NoSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before{};
};

int MillisecondsUntil(Sender::Clock::time_point due) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Sender::Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, INT_MAX));
}

}  // namespace

Publisher::Publisher(Outbox& outbox, SenderSettings settings)
    : m_sender(outbox, std::move(settings)), m_wake(MakeWake()) {
    const NoSignals noSignals;
    m_thread = std::thread([this] { Run(); });
}

Publisher::~Publisher() {
    m_stop = true;
    Wake();
    if (m_thread.joinable()) m_thread.join();
}

void Publisher::Wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_wake.Get(), &one, sizeof one);
}

void Publisher::Finish(double seconds) {
    m_finishMs = static_cast<int>(std::clamp(seconds * 1000, 0.0, double{INT_MAX}));
    Wake();
    if (m_thread.joinable()) m_thread.join();
}

void Publisher::Run() {
    try {
        while (!m_stop && !m_sender.IsDone() && Wait()) {
        }
    } catch (const std::exception& error) {
        PrintError(std::string("nothing is published any more: ") + error.what());
    }
}

// Waits until there is something to do, and does it.
bool Publisher::Wait() {
    const short events = static_cast<short>(POLLIN | (m_sender.WantsToWrite() ? POLLOUT : 0));
    pollfd sources[] = {{m_wake.Get(), POLLIN, 0}, {m_sender.Descriptor(), events, 0}};
    if (poll(sources, 2, MillisecondsUntil(m_sender.Due())) < 0 && errno != EINTR) return false;
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = read(m_wake.Get(), &count, sizeof count);
    const int finishMs = m_finishMs.exchange(-1);
    if (finishMs >= 0) m_sender.Finish(Sender::Clock::now() + std::chrono::milliseconds(finishMs));
    m_sender.Turn((sources[1].revents & (POLLIN | POLLERR | POLLHUP)) != 0, (sources[1].revents & POLLOUT) != 0);
    return true;
}

}  // namespace qxlt
