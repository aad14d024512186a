// The messages of a device as JSON: its events, and its status.
#pragma once

#include <cstdint>
#include <string>

#include "EventView.h"
#include "Outbox.h"

namespace qxlt {

// Who sends: what each message says of it.
struct Sending {
    std::string device;  // its name in clear
    std::string boot;
    std::string run;
};

// An event with its number in the run. An event that would take more than kMostMessage bytes comes without its call,
// and with the beginning of its value.
inline constexpr std::size_t kMostMessage = std::size_t{256} * 1024;
std::string EventMessage(const Sending& sending, std::uint64_t number, const EventView& view);

enum class DeviceState { Running, Ended, Gone };

// `wall` is the time of day in nanoseconds since 1970. `health` is a JSON object; empty: it is left out.
std::string StatusMessage(const Sending& sending, DeviceState state, std::uint64_t wall, const OutboxCounts& counts,
                          const std::string& health);

}  // namespace qxlt
