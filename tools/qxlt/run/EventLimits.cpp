#include "EventLimits.h"

#include <algorithm>
#include <utility>

#include "CallFilter.h"
#include "JsonLine.h"
#include "Messages.h"
#include "Text.h"

namespace qxlt {

namespace {

// Those with a name first.
std::vector<EventLimit> Ordered(std::vector<EventLimit> limits) {
    std::stable_partition(limits.begin(), limits.end(), [](const EventLimit& limit) { return !limit.event.empty(); });
    return limits;
}

}  // namespace

EventLimits::EventLimits(std::vector<EventLimit> limits, Format format, Output& output)
    : m_limits(Ordered(std::move(limits))), m_format(format), m_output(output) {}

RateWindow* EventLimits::WindowOf(const std::string& event) {
    const auto known = m_windows.find(event);
    if (known != m_windows.end()) return &known->second;
    const auto limit = std::find_if(m_limits.begin(), m_limits.end(), [&event](const EventLimit& candidate) {
        return candidate.event.empty() || MatchesPattern(candidate.event, event);
    });
    return limit == m_limits.end() ? nullptr : &m_windows.emplace(event, limit->rate).first->second;
}

bool EventLimits::Lets(const std::string& event, std::uint64_t cycle, RateWindow::Time now) {
    RateWindow* const window = WindowOf(event);
    if (window == nullptr) return true;
    if (!window->Take(now)) return false;
    Tell(event, cycle, *window);
    return true;
}

void EventLimits::EndCycle(std::uint64_t cycle, RateWindow::Time now) {
    for (auto& [event, window] : m_windows) {
        if (window.IsOver(now)) Tell(event, cycle, window);
    }
}

void EventLimits::End(std::uint64_t cycle) {
    for (auto& [event, window] : m_windows) Tell(event, cycle, window);
}

std::vector<HealthFigure> EventLimits::Health() const {
    std::vector<HealthFigure> figures;
    for (const auto& [event, window] : m_windows) {
        figures.push_back({"heldBack", "qxlt_events_held_back_total", "Firings that --at-most held back.",
                           window.HeldInAll(), event});
    }
    return figures;
}

void EventLimits::Tell(const std::string& event, std::uint64_t cycle, RateWindow& window) const {
    const std::uint64_t held = window.TakeHeld();
    if (held == 0) return;
    if (m_format == Format::Text) {
        return PrintNote("cycle " + std::to_string(cycle) + ", " + event + ": " + Counted(held, "event") +
                         " held back by --at-most");
    }
    JsonLine line;
    line.Add("cycle", cycle);
    line.BeginObject("held");
    line.AddText("event", event);
    line.Add("count", held);
    line.EndObject();
    m_output.Line(std::move(line).Finish());
}

}  // namespace qxlt
