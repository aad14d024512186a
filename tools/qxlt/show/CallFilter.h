// Which of the events and calls are shown. All that is evaluated stays evaluated.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CallView.h"

namespace qxlt {

// A point in time as it is written on the command line.
struct TimeBound {
    enum class Kind { None, SinceStart, Wall } kind = Kind::None;
    std::uint64_t ns = 0;  // since the run began, or since 1970
};

// Reads "10s", "500ms", "2m", "1h" or a number of seconds, and "2026-03-01T12:30:00Z" with or without a fraction of the
// second; nothing for other texts.
std::optional<TimeBound> ReadTimeBound(const std::string& text);

// Patterns are those of a shell, and any of several will do; without a pattern everything matches.
struct FilterPatterns {
    std::vector<std::string> events;
    std::vector<std::string> methods;
    std::vector<std::string> processes;
    std::vector<std::string> threads;
    TimeBound since;
    TimeBound until;
};

class CallFilter final {
public:
    explicit CallFilter(FilterPatterns patterns = {});

    bool ShowsEvent(const std::string& name) const;

    // A method matches by its name alone or with its package, a thread by its name or its number.
    bool ShowsMethod(const IQxData::_HSCallLocation& location) const;
    bool ShowsProcess(const std::string& name) const;
    bool ShowsThread(const std::string& name, unsigned number) const;

    // All that is known of a call, and when it was made. A bound that cannot be told for it holds nothing back.
    bool ShowsCall(const CallView& call) const;

    // Whether a bound is asked for that cannot be told for the call.
    bool LacksTime(const CallView& call) const;

private:
    bool IsInTime(const CallView& call) const;

    FilterPatterns m_patterns;
    bool m_all;  // nothing is asked for
};

}  // namespace qxlt
