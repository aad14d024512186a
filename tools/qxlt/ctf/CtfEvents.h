// Makes calls of the events of a trace.
#pragma once

#include <babeltrace2/babeltrace.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "EventRules.h"
#include "ImportedCapture.h"
#include "OpenCalls.h"

namespace qxlt {

class CtfEvents final {
public:
    // Both are not owned, and must outlive this.
    CtfEvents(const EventRules& rules, ImportedCapture& capture);

    // The next message, in the order of time. Throws a Failure (input wrong) for a trace without a clock.
    void Take(const bt_message* message);

    // After the last one.
    void Finish() { m_open.EndAll(); }

    // How far the wall clock is ahead of the trace's; nothing when that is not known.
    std::optional<std::int64_t> ClockOffset() const { return m_isWallClock ? m_offset : std::nullopt; }

    // What the tracer says it threw away.
    std::uint64_t DiscardedEvents() const { return m_discardedEvents; }
    std::uint64_t DiscardedPackets() const { return m_discardedPackets; }

    // Whether there were events that do not tell the thread that made them: their calls are taken for those of one.
    bool LacksThreads() const { return m_lacksThreads; }

private:
    struct Event {
        const bt_event* event;
        std::string name;
        std::uint64_t time;
        std::uint16_t thread;
    };

    void TakeEvent(const bt_message* message);
    void TakeNames(const bt_stream* stream);
    std::optional<std::uint64_t> TimeOf(const bt_message* message);
    std::uint16_t ThreadOf(const bt_event* event);
    const EventMeaning& MeaningOf(const std::string& name);
    void Dispatch(const Event& event);
    void Enter(const Event& event, const EventMeaning& meaning);
    void Leave(const Event& event, const EventMeaning& meaning);
    void TakeOwn(const Event& event);

    const EventRules& m_rules;
    ImportedCapture& m_capture;
    OpenCalls m_open;
    std::set<std::string> m_names;  // of all events of the traces so far
    std::map<std::string, EventMeaning> m_meanings;
    std::optional<std::int64_t> m_offset;  // of the clock, from its origin
    bool m_isWallClock = false;
    std::uint64_t m_discardedEvents = 0;
    std::uint64_t m_discardedPackets = 0;
    bool m_lacksThreads = false;
};

}  // namespace qxlt
