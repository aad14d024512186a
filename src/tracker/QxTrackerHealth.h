// What a tracker counts about itself: its worker adds each cycle, and any thread asks.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "QxCycle.h"
#include "QxEventTally.h"
#include "QxLogTrackerHealth.h"

class QxTrackerHealth final {
public:
    using Clock = std::chrono::steady_clock;

    // The span of a callback.
    class Span final {
    public:
        explicit Span(QxTrackerHealth& health) : m_health(health) {}
        Span(const Span&) = delete;
        Span& operator=(const Span&) = delete;
        ~Span() { m_health.AddCallback(Clock::now() - m_began); }

    private:
        QxTrackerHealth& m_health;
        const Clock::time_point m_began = Clock::now();
    };

    // A cycle, step by step. The worker's.
    void BeginCycle();
    void BeginDecoding(std::uint64_t calls);  // that the store holds so far
    void AddDump(std::size_t bytes);
    void EndDecoding(std::uint64_t calls);
    void AddCallback(Clock::duration time);
    void EndCycle(const QxCycle& cycle, std::uint64_t storeBytes);

    // Counts the events from now on. While no cycle runs.
    void CountEvents() { m_counts = true; }
    bool CountsEvents() const { return m_counts; }

    // What counts them. The worker's.
    QxEventTally& Tally() { return m_tally; }

    // Any thread.
    QxHealth Numbers() const;
    QxEventTally::Rows Events() const;

private:
    std::atomic<bool> m_counts{false};  // set while the worker does not run
    QxHealth m_next{};                  // this and what follows is the worker's
    QxEventTally m_tally;
    Clock::time_point m_began;
    Clock::time_point m_beganWork;
    std::uint64_t m_callsBefore = 0;

    mutable std::mutex m_mutex;
    QxHealth m_numbers{};         // guarded by m_mutex
    QxEventTally::Rows m_events;  // guarded by m_mutex
};
