// The option that bounds how many events a live run hands on.
#pragma once

#include <optional>
#include <string>

#include "CliFwd.h"
#include "EventLimits.h"

namespace qxlt {

struct RunOptions;

// Adds --at-most. `options` must live as long as the command.
void AddLimitOptions(CLI::App& command, RunOptions& options);

// Reads "10/min" or "EVENT=10/min", with s, min or h; nothing for other texts and for a rate of 0.
std::optional<EventLimit> ReadLimit(const std::string& text);

}  // namespace qxlt
