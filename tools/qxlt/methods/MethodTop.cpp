#include "MethodTop.h"

#include "Platform.h"

namespace qxlt {

void MethodTop::OnBegin() {
    m_begin = m_last = Clock::now();
    m_since = CallClockNow();
    m_begun = true;
    m_display.Open();
}

void MethodTop::OnDump(const DumpNews& news) {
    m_primes = news.cycle == 1;
    Process& process = m_processes[news.process];
    if (!news.counts) return;
    process.lost = process.lost.value_or(0) + news.counts->overwritten + news.counts->refused + news.counts->dropped;
}

void MethodTop::OnCall(const CallView& call) {
    const bool isOlder = m_since && call.call.time < *m_since;
    if (m_over || isOlder || !m_filter.ShowsCall(call)) return;
    m_statistics.Add(call);
    ++m_processes[call.process].calls;
    ++m_calls;
}

void MethodTop::OnCycleEnd() {
    const std::chrono::duration<double> time = Clock::now() - m_last;
    if (m_over || m_primes || time.count() < m_choice.seconds) return;
    EndInterval();
    if (!m_choice.once) return;
    m_over = true;
    m_end();
}

void MethodTop::EndInterval() {
    const Clock::time_point now = Clock::now();
    MethodInterval interval;
    interval.number = ++m_number;
    interval.last = {m_statistics.Interval(), std::chrono::duration<double>(now - m_last).count()};
    m_statistics.EndInterval();
    interval.whole = {m_statistics.Whole(), std::chrono::duration<double>(now - m_begin).count()};
    interval.processes = TakeProcesses();
    m_last = now;
    m_calls = 0;
    m_display.Show(interval);
}

std::vector<ProcessCalls> MethodTop::TakeProcesses() {
    std::vector<ProcessCalls> processes;
    for (auto& [name, process] : m_processes) {
        processes.push_back({name, std::exchange(process.calls, 0), process.lost});
    }
    return processes;
}

void MethodTop::Finish() {
    if (m_begun && !m_over && m_calls > 0) EndInterval();
    m_display.Finish();
}

}  // namespace qxlt
