// Spans of time and amounts of memory as a person reads them.
#pragma once

#include <cstdint>
#include <string>

namespace qxlt {

// "0.1 s ago", "12 s ago", "3 min ago", "2 h ago", "5 days ago".
std::string AgoText(std::uint64_t ns);

// "312 KiB", "1.2 MiB".
std::string BytesText(std::uint64_t bytes);

}  // namespace qxlt
