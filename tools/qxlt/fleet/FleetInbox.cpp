#include "FleetInbox.h"

#include <fnmatch.h>

#include <algorithm>
#include <utility>

namespace qxlt {

bool MatchesAny(const std::vector<std::string>& patterns, const std::string& name) {
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(), [&name](const std::string& pattern) {
               return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
           });
}

void FleetInbox::Take(std::string_view topic, std::string_view payload) {
    FleetMessage message = m_reader.Read(topic, payload);
    if (const auto* const refusal = std::get_if<Refusal>(&message)) {
        ++m_refused.counts[TextOf(*refusal)];
        return;
    }
    if (std::holds_alternative<std::monostate>(message)) return;
    const auto* const event = std::get_if<FleetEvent>(&message);
    const std::string& device = event != nullptr ? event->origin.device : std::get<FleetStatus>(message).origin.device;
    if (!MatchesAny(m_choice.devices, device)) return;
    m_waitingBytes += payload.size();
    m_waiting.push_back(std::move(message));
}

void FleetInbox::Add(std::vector<FleetNews> news) {
    for (FleetNews& one : news) m_lines.emplace_back(std::move(one));
}

// A message whose device cannot be looked up waits on, with those behind it.
void FleetInbox::Decide(Time now) {
    for (; !m_waiting.empty(); m_waiting.pop_front()) {
        if (const auto* const status = std::get_if<FleetStatus>(&m_waiting.front())) {
            Add(m_account.Take(*status, now));
            continue;
        }
        auto& event = std::get<FleetEvent>(m_waiting.front());
        const bool isDouble = m_account.Take(event, now) == RunNumbers::Arrival::Double;
        if (!isDouble && MatchesAny(m_choice.events, event.event)) m_lines.emplace_back(std::move(event));
    }
    m_waitingBytes = 0;
    Add(m_account.TakeDue(now));
}

void FleetInbox::Keep(std::uint64_t wall) {
    if (m_store == nullptr) return;
    FleetBatch batch{wall, {}, m_account.Changed()};
    for (const Line& line : m_lines) {
        if (const auto* const event = std::get_if<FleetEvent>(&line)) batch.events.push_back(event);
    }
    if (batch.events.empty() && batch.devices.empty()) return;
    const std::size_t refused = m_store->Write(batch);
    if (refused > 0) m_refused.counts["refused by the database"] += refused;
}

void FleetInbox::Settle(Time now, std::uint64_t wall) {
    Decide(now);
    Keep(wall);
    m_account.Saved();
    for (const Line& line : std::exchange(m_lines, {})) {
        std::visit([this](const auto& one) { m_display.Show(one); }, line);
    }
}

}  // namespace qxlt
