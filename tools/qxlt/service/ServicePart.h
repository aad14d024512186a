// A run as a service: tells the manager that started it when it is ready, what it does, and that its cycles go on.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

#include "IRunPart.h"
#include "Notifier.h"
#include "Wakeup.h"

namespace qxlt {

struct RunOptions;

// What the manager asks for.
struct ServiceWishes {
    std::string socket;                                 // empty: it asks for nothing
    std::optional<std::chrono::microseconds> watchdog;  // how often it wants to hear at least
};

// Takes them out of the environment: programs that the run starts are not asked.
ServiceWishes TakeServiceWishes();

// A service is ready once it has primed, and also while it waits for processes: they may be services that are started
// after this one. The watchdog is fed by cycles that end, and by the wait.
class ServicePart final : public IRunPart {
public:
    ServicePart(const ServiceWishes& wishes, const RunSurroundings& surroundings);
    ServicePart(const ServicePart&) = delete;
    ServicePart& operator=(const ServicePart&) = delete;
    ~ServicePart() override;

    void OnWaiting(const std::vector<std::string>& missing) override;
    void OnCycleEnd() override;
    void OnReloading() override;
    void OnReloaded() override;
    void OnEnding() override;

private:
    using Clock = std::chrono::steady_clock;

    void TellSoon();
    void Tell();

    const Notifier m_notifier;
    const HealthPart& m_health;
    const Clock::duration m_between;  // that it is told again
    std::mutex m_mutex;               // while the run ends another thread waits for interruptions than ends it
    bool m_isReady = false;           // and told so; guarded by m_mutex, as are the next two
    bool m_isEnding = false;
    Clock::time_point m_next;
    Wakeup m_wakeup;  // last: what it calls uses the others
};

// Has the run be a service if that is what it was started as.
void AddServicePart(RunOptions& options);

}  // namespace qxlt
