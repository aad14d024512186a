// How many events of a name a live run hands on in a time: prints, gives to programs, keeps. The others still fire and
// count.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "EventView.h"
#include "Format.h"
#include "HealthFigure.h"
#include "Output.h"
#include "RateWindow.h"

namespace qxlt {

struct EventLimit {
    std::string event;  // a name, or a pattern; empty: of each event that no other limit means
    Rate rate;
};

// In text, what was held back is a note on standard error; in JSON a line of the output. One thread at a time.
class EventLimits final {
public:
    // The first of the limits that means an event holds for it. `output` must outlive the limits.
    EventLimits(std::vector<EventLimit> limits, Format format, Output& output);

    // Whether the event is handed on. Tells before one that is how many of its name were held back since the last.
    bool Lets(const EventView& view) { return Lets(view.event, view.cycle, RateWindow::Time::clock::now()); }
    bool Lets(const std::string& event, std::uint64_t cycle, RateWindow::Time now);

    // Tells what was held back in intervals that are over, and at the end in all.
    void EndCycle(std::uint64_t cycle) { EndCycle(cycle, RateWindow::Time::clock::now()); }
    void EndCycle(std::uint64_t cycle, RateWindow::Time now);
    void End(std::uint64_t cycle);

    // How many were held back of each event that a limit holds for.
    std::vector<HealthFigure> Health() const;

private:
    RateWindow* WindowOf(const std::string& event);
    void Tell(const std::string& event, std::uint64_t cycle, RateWindow& window) const;

    const std::vector<EventLimit> m_limits;
    const Format m_format;
    Output& m_output;
    std::map<std::string, RateWindow> m_windows;  // by event
};

}  // namespace qxlt
