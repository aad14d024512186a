#include "worker.h"

#include <qx/recorder.h>
#include <sys/prctl.h>

#include <chrono>
#include <utility>

Worker::Worker(const std::string& name, double callsPerSecond, std::function<void(unsigned long)> makeCall)
    : m_makeCall(std::move(makeCall)), m_thread([=] { Run(name, callsPerSecond); }) {}

Worker::~Worker() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_stopped.notify_all();
    m_thread.join();
}

void Worker::Run(const std::string& name, double callsPerSecond) {
    ::prctl(PR_SET_NAME, name.c_str());
    qx::recorder::SetThreadName(name);
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    // Each due time is counted from the start, so that late calls do not slow the rate.
    const double nanosecondsPerCall = callsPerSecond > 0 ? 1e9 / callsPerSecond : 0;
    for (unsigned long n = 0;; ++n) {
        const auto offset = static_cast<Clock::rep>(static_cast<double>(n) * nanosecondsPerCall);
        if (WaitUntil(start + std::chrono::nanoseconds(offset))) return;
        m_makeCall(n);
    }
}

bool Worker::WaitUntil(std::chrono::steady_clock::time_point due) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_stop || due <= std::chrono::steady_clock::now()) return m_stop;
    return m_stopped.wait_until(lock, due, [this] { return m_stop; });
}
