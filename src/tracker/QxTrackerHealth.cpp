#include "QxTrackerHealth.h"

#include <algorithm>
#include <cstring>

#include "QxLogTracker.h"

namespace {

std::uint64_t Nanoseconds(QxTrackerHealth::Clock::duration time) {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

void AddTime(QxTrackerHealth::Clock::duration time, std::uint64_t& longest, std::uint64_t& sum) {
    const std::uint64_t ns = Nanoseconds(time);
    longest = std::max(longest, ns);
    sum += ns;
}

// Null for a tracker that this library did not make.
const QxLogTracker* Own(const IQxLogTracker& tracker) {
    return dynamic_cast<const QxLogTracker*>(&tracker);
}

QxEventHealth Shown(const std::string& name, const QxEventTally::Row& row) {
    return {name.data(),          name.size(),          row.seen,    row.matched, row.fired, row.errors,
            row.lastValue.data(), row.lastValue.size(), row.lastTime};
}

}  // namespace

void QxTrackerHealth::BeginCycle() {
    m_began = Clock::now();
    m_tally.BeginCycle();
}

void QxTrackerHealth::BeginDecoding(std::uint64_t calls) {
    m_beganWork = Clock::now();
    m_callsBefore = calls;
}

void QxTrackerHealth::AddDump(std::size_t bytes) {
    if (bytes == 0) return;
    ++m_next.dumps;
    m_next.dumpBytes += bytes;
}

void QxTrackerHealth::EndDecoding(std::uint64_t calls) {
    m_next.calls += calls - m_callsBefore;
}

void QxTrackerHealth::AddCallback(Clock::duration time) {
    AddTime(time, m_next.longestCallbackNs, m_next.callbacksNs);
}

void QxTrackerHealth::EndCycle(const QxCycle& cycle, std::uint64_t storeBytes) {
    ++m_next.cycles;
    for (const QxCycle::Decoded& dump : cycle.Dumps()) {
        if (!dump.Whole()) ++m_next.dumpsDamaged;
        m_next.bytesNotDecoded += dump.bytesNotDecoded;
    }
    m_next.eventsFired += cycle.Parser().Events().Sent();
    m_next.eventsInError += cycle.Parser().Events().Errors();
    m_next.storeBytes = storeBytes;
    const Clock::time_point now = Clock::now();
    m_next.lastCycleNs = Nanoseconds(now - m_began);
    m_next.lastWorkNs = Nanoseconds(now - m_beganWork);
    AddTime(now - m_began, m_next.longestCycleNs, m_next.cyclesNs);
    AddTime(now - m_beganWork, m_next.longestWorkNs, m_next.worksNs);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_numbers = m_next;
    if (m_counts) m_events = m_tally.All();
}

QxHealth QxTrackerHealth::Numbers() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_numbers;
}

QxEventTally::Rows QxTrackerHealth::Events() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

int QxHealthOf(const IQxLogTracker& tracker, QxHealth& out, std::uint32_t size) {
    const QxLogTracker* const own = Own(tracker);
    const QxHealth numbers = own == nullptr ? QxHealth{} : own->Health().Numbers();
    std::memset(&out, 0, size);
    std::memcpy(&out, &numbers, std::min<std::size_t>(size, sizeof numbers));
    return own == nullptr ? 0 : 1;
}

int QxCountEvents(IQxLogTracker& tracker) {
    auto* const own = dynamic_cast<QxLogTracker*>(&tracker);
    if (own == nullptr) return 0;
    own->CountEvents();
    return 1;
}

int QxEventHealthOf(const IQxLogTracker& tracker, QxEventHealthSink sink, void* context) {
    const QxLogTracker* const own = Own(tracker);
    if (own == nullptr || !own->Health().CountsEvents()) return 0;
    for (const auto& [name, row] : own->Health().Events()) {
        const QxEventHealth event = Shown(name, row);
        sink(&event, context);
    }
    return 1;
}
