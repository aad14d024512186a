#include "CallFilter.h"

#include <fnmatch.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "TimeText.h"
#include "WallTime.h"

namespace qxlt {

namespace {

constexpr double kSecondNs = 1e9;
constexpr double kMostSeconds = 9e9;  // what 64 bits of nanoseconds have room for

bool MatchesAny(const std::vector<std::string>& patterns, const std::string& name) {
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(), [&name](const std::string& pattern) {
               return MatchesPattern(pattern, name);
           });
}

// Counted as the bound is.
std::optional<std::uint64_t> CountedAs(const CallTime& call, TimeBound::Kind kind) {
    if (kind == TimeBound::Kind::Wall) return WallTime(call.time, call.clock);
    if (!call.start) return std::nullopt;
    return call.time < *call.start ? 0 : call.time - *call.start;
}

}  // namespace

CallTime TimeOf(const CallView& call) {
    return {call.call.time, call.start, call.clock};
}

CallTime TimeOf(const IQxData::HSCall& call, const RunStart& start) {
    return {call.time, start.time, start.clock};
}

std::optional<TimeBound> ReadTimeBound(const std::string& text) {
    const std::optional<double> seconds = ReadSeconds(text);
    if (!seconds) {
        const std::optional<std::uint64_t> wall = ReadWallText(text);
        return wall ? std::make_optional(TimeBound{TimeBound::Kind::Wall, *wall}) : std::nullopt;
    }
    if (*seconds > kMostSeconds) return std::nullopt;
    return TimeBound{TimeBound::Kind::SinceStart, static_cast<std::uint64_t>(std::llround(*seconds * kSecondNs))};
}

CallFilter::CallFilter(FilterPatterns patterns)
    : m_patterns(std::move(patterns)),
      m_all(m_patterns.methods.empty() && m_patterns.processes.empty() && m_patterns.threads.empty() && !HasBounds()) {}

bool CallFilter::ShowsEvent(const std::string& name) const {
    return MatchesAny(m_patterns.events, name);
}

bool MatchesPattern(const std::string& pattern, const std::string& text) {
    return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

bool MatchesMethod(const std::string& pattern, const std::string& package, const std::string& name) {
    return MatchesPattern(pattern, name) || MatchesPattern(pattern, package + "." + name);
}

bool CallFilter::ShowsMethod(const IQxData::_HSCallLocation& location) const {
    const std::vector<std::string>& patterns = m_patterns.methods;
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
               return MatchesMethod(pattern, location.packageName, location.callerName);
           });
}

bool CallFilter::ShowsProcess(const std::string& name) const {
    return MatchesAny(m_patterns.processes, name);
}

bool CallFilter::ShowsThread(const std::string& name, unsigned number) const {
    return MatchesAny(m_patterns.threads, name) || MatchesAny(m_patterns.threads, std::to_string(number));
}

bool CallFilter::ShowsTime(const CallTime& call) const {
    const auto isBefore = [&call](const TimeBound& bound) {
        const std::optional<std::uint64_t> time = CountedAs(call, bound.kind);
        return time && *time < bound.ns;
    };
    if (m_patterns.since.kind != TimeBound::Kind::None && isBefore(m_patterns.since)) return false;
    const TimeBound& until = m_patterns.until;
    return until.kind == TimeBound::Kind::None || !CountedAs(call, until.kind) || isBefore(until);
}

bool CallFilter::LacksTime(const CallTime& call) const {
    const auto isUntold = [&call](const TimeBound& bound) {
        return bound.kind != TimeBound::Kind::None && !CountedAs(call, bound.kind);
    };
    return isUntold(m_patterns.since) || isUntold(m_patterns.until);
}

bool CallFilter::ShowsCall(const CallView& call) const {
    if (m_all) return true;
    return ShowsMethod(call.location) && ShowsProcess(call.process) &&
           ShowsThread(std::string(call.thread), call.call.tid) && ShowsTime(TimeOf(call));
}

}  // namespace qxlt
