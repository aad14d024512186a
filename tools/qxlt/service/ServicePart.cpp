#include "ServicePart.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "HealthPart.h"
#include "LiveRun.h"

namespace qxlt {

namespace {

std::string Taken(const char* name) {
    const char* const value = std::getenv(name);
    std::string text = value == nullptr ? "" : value;
    unsetenv(name);
    return text;
}

std::optional<std::uint64_t> NumberOf(const std::string& text) {
    if (text.empty() || text.size() > 18 || text.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    return std::stoull(text);
}

// A few times within the time that the manager waits, and no more often than a person reads.
std::chrono::microseconds Between(const ServiceWishes& wishes) {
    constexpr std::chrono::microseconds usual = std::chrono::seconds(1);
    return wishes.watchdog ? std::min(usual, *wishes.watchdog / 4) : usual;
}

}  // namespace

ServiceWishes TakeServiceWishes() {
    ServiceWishes wishes;
    wishes.socket = Taken("NOTIFY_SOCKET");
    const std::optional<std::uint64_t> watchdog = NumberOf(Taken("WATCHDOG_USEC"));
    const std::optional<std::uint64_t> pid = NumberOf(Taken("WATCHDOG_PID"));
    const bool isMeant = !pid || *pid == static_cast<std::uint64_t>(getpid());
    if (watchdog && *watchdog > 0 && isMeant) wishes.watchdog = std::chrono::microseconds(*watchdog);
    return wishes;
}

ServicePart::ServicePart(const ServiceWishes& wishes, const RunSurroundings& surroundings)
    : m_notifier(wishes.socket),
      m_health(surroundings.health),
      m_between(Between(wishes)),
      m_wakeup(surroundings.interruption, [this] { TellSoon(); }) {}

ServicePart::~ServicePart() {
    if (!m_isEnding) m_notifier.Send("STOPPING=1");
}

void ServicePart::OnWaiting(const std::vector<std::string>& /*missing*/) {
    TellSoon();
}

// The worker waits for no manager that does not read.
void ServicePart::OnCycleEnd() {
    m_wakeup.Call();
}

void ServicePart::TellSoon() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isEnding || (m_isReady && Clock::now() < m_next)) return;
    m_next = Clock::now() + m_between;
    Tell();
}

// What did not go is told again the next time.
void ServicePart::Tell() {
    const std::string status = "STATUS=" + m_health.Summary() + "\n";
    const std::string ready = m_isReady ? "" : "READY=1\n";
    if (m_notifier.Send(ready + status + "WATCHDOG=1")) m_isReady = true;
}

void ServicePart::OnReloading() {
    m_notifier.Send("RELOADING=1\nSTATUS=reading its scenarios again");
}

void ServicePart::OnReloaded() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isReady = false;
    Tell();
}

void ServicePart::OnEnding() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isEnding = true;
    m_notifier.Send("STOPPING=1\nSTATUS=fetching what was recorded up to now");
}

void AddServicePart(RunOptions& options) {
    if (std::getenv("NOTIFY_SOCKET") == nullptr) return;
    options.parts.emplace_back([](const RunSurroundings& surroundings) {
        return std::make_unique<ServicePart>(TakeServiceWishes(), surroundings);
    });
}

}  // namespace qxlt
