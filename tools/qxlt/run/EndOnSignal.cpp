#include "EndOnSignal.h"

#include <chrono>
#include <cstdlib>
#include <optional>

#include "Failure.h"
#include "Interruption.h"

namespace qxlt {

namespace {

constexpr std::chrono::milliseconds kOneInterruption(500);

}  // namespace

EndOnSignal::EndOnSignal(Interruption& interruption, bool interrupted)
    : m_interruption(interruption), m_interrupted(interrupted), m_watcher([this] { Watch(); }) {}

EndOnSignal::~EndOnSignal() {
    m_over = true;
    m_interruption.Request();
    m_watcher.join();
}

void EndOnSignal::Watch() const {
    using Clock = Interruption::Clock;
    const Clock::time_point counts = m_interrupted ? Clock::now() + kOneInterruption : Clock::now();
    while (!m_over) {
        const bool signal = m_interruption.Wait(std::nullopt) == Interruption::Cause::Signal;
        if (signal && Clock::now() >= counts) std::_Exit(kInputWrong);
    }
}

}  // namespace qxlt
