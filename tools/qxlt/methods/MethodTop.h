// Counts the calls of a live run, interval by interval.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "CallFilter.h"
#include "ICallWatcher.h"
#include "IMethodDisplay.h"
#include "MethodStatistics.h"

namespace qxlt {

struct TopChoice {
    FilterPatterns filter;
    StatisticsChoice statistics;
    double seconds = 1;  // how long an interval is at least: it ends with a cycle
    bool once = false;   // the first one is all
};

// What was called before all processes ran belongs to no interval: the first one would tell of a time that was longer
// for some of them.
class MethodTop final : public ICallWatcher {
public:
    // `display` must outlive this. `end` ends the run.
    MethodTop(TopChoice choice, IMethodDisplay& display, std::function<void()> end)
        : m_choice(std::move(choice)),
          m_filter(m_choice.filter),
          m_display(display),
          m_end(std::move(end)),
          m_statistics(m_choice.statistics) {}

    void OnBegin() override;
    void OnEnding() override { m_display.Close(); }
    void OnDump(const DumpNews& news) override;
    void OnCall(const CallView& call) override;
    void OnPrimed(const CallView&) override {}
    void OnCycleEnd() override;

    // The run is over: shows what has come since the last interval ended.
    void Finish();

private:
    using Clock = std::chrono::steady_clock;

    struct Process {
        std::uint64_t calls = 0;
        std::optional<std::uint64_t> lost;
    };

    void EndInterval();
    std::vector<ProcessCalls> TakeProcesses();

    const TopChoice m_choice;
    const CallFilter m_filter;
    IMethodDisplay& m_display;
    const std::function<void()> m_end;
    Clock::time_point m_begin;             // of all intervals
    Clock::time_point m_last;              // and of this one
    std::optional<std::uint64_t> m_since;  // the same as m_begin on the recordings' clock, where that is known
    MethodStatistics m_statistics;
    std::map<std::string, Process> m_processes;  // by name
    std::uint64_t m_number = 0;                  // of intervals that have ended
    std::uint64_t m_calls = 0;                   // in the one in progress
    bool m_primes = false;                       // the cycle does: its calls come with the next one
    bool m_begun = false;
    bool m_over = false;
};

}  // namespace qxlt
