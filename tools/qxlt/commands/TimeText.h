// Lengths of time as they are written on the command line.
#pragma once

#include <optional>
#include <string>

namespace qxlt {

// The seconds that "10s", "500ms", "20us", "2m", "1h" or "7d" stand for; a number alone counts seconds. Nothing for
// other texts, and for a time that is not above 0.
std::optional<double> ReadSeconds(const std::string& text);

// What is wrong with a text that is no such time; empty: nothing is.
std::string RequireLength(const std::string& text);

}  // namespace qxlt
