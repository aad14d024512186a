#include "ExpectedLine.h"

#include <algorithm>
#include <utility>

#include "Failure.h"
#include "Json.h"
#include "Text.h"
#include "TimeFormat.h"

namespace qxlt {

namespace {

constexpr double kNsOfMs = 1e6;

[[noreturn]] void Refuse(const std::string& place, const std::string& why) {
    throw Failure(kCannotStart, place + ": " + why);
}

std::uint64_t ReadCount(const std::string& place, const JsonObject& number) {
    if (!number.is_number_unsigned()) {
        Refuse(place, "count is " + number.dump() + R"(; write a number of events, or {"min":1}, {"max":9} or both)");
    }
    return number.get<std::uint64_t>();
}

CountRule ReadBounds(const std::string& place, const JsonObject& bounds) {
    CountRule rule;
    for (const auto& [key, number] : bounds.items()) {
        if (key != "min" && key != "max") Refuse(place, "count has \"" + key + R"("; it takes "min" and "max")");
        (key == "min" ? rule.min : rule.max) = ReadCount(place, number);
    }
    if (bounds.empty()) Refuse(place, R"(count is empty; write "min", "max" or both)");
    if (rule.min > rule.max) Refuse(place, "count has a min that is more than its max; no number is both");
    return rule;
}

CountRule ReadCountRule(const std::string& place, const JsonObject& count) {
    if (count.is_object()) return ReadBounds(place, count);
    const std::uint64_t number = ReadCount(place, count);
    return {number, number};
}

WithinRule ReadWithin(const std::string& place, const JsonObject& line) {
    WithinRule rule;
    const auto ms = line.find("within_ms");
    if (ms == line.end()) Refuse(place, R"("after" stands alone; write "within_ms":500 beside it)");
    if (!ms->is_number() || ms->get<double>() < 0) {
        Refuse(place, "within_ms is " + ms->dump() + "; write a number of milliseconds");
    }
    rule.ms = ms->get<double>();
    const auto after = line.find("after");
    if (after == line.end()) return rule;
    if (!after->is_string() || after->get_ref<const std::string&>().empty())
        Refuse(place, "after is " + after->dump() + "; write the name of an event");
    rule.after = after->get<std::string>();
    return rule;
}

}  // namespace

std::string CountRule::Text() const {
    if (min == max) return std::to_string(min);
    if (max == std::numeric_limits<std::uint64_t>::max()) return "at least " + std::to_string(min);
    if (min == 0) return "at most " + std::to_string(max);
    return std::to_string(min) + " to " + std::to_string(max);
}

ExpectedLine::ExpectedLine(const std::string& place, std::string text)
    : m_text(std::move(text)), m_whole(Shared(ParseJson(place, m_text))), m_keys(m_whole) {
    if (!m_whole->is_object()) Refuse(place, "no JSON object; write it with --update");
    ReadRules(place);
}

void ExpectedLine::ReadRules(const std::string& place) {
    const auto count = m_whole->find("count");
    if (count != m_whole->end()) m_count = ReadCountRule(place, *count);
    if (m_whole->contains("within_ms") || m_whole->contains("after")) m_within = ReadWithin(place, *m_whole);
    if (m_count && m_within && m_within->after.empty()) {
        Refuse(place, R"(with a count no event stands before the line's; name one with "after")");
    }
    if (!m_count && !m_within) return;
    JsonObject keys = *m_whole;
    for (const char* const rule : {"count", "within_ms", "after"}) keys.erase(rule);
    m_keys = Shared(std::move(keys));
}

bool ExpectedLine::Matches(const RunLines& run, const Arrival& arrival) const {
    return IsExpected(*m_keys, *run[arrival.line]) && (!m_within || IsInTime(SinceOther(run, arrival)));
}

bool ExpectedLine::IsInTime(std::optional<std::uint64_t> since) const {
    return since && static_cast<double>(*since) <= m_within->ms * kNsOfMs;
}

std::optional<std::uint64_t> ExpectedLine::SinceOther(const RunLines& run, const Arrival& arrival) const {
    if (!m_within->after.empty()) return run.SinceEvent(m_within->after, arrival.line);
    const std::optional<std::uint64_t> time = run.TimeOf(arrival.line);
    const std::optional<std::uint64_t> before = arrival.before ? run.TimeOf(*arrival.before) : std::nullopt;
    if (!time || !before) return std::nullopt;
    return *time - std::min(*time, *before);
}

std::string ExpectedLine::LatenessOf(const RunLines& run, const Arrival& arrival) const {
    if (!m_within) return std::string();
    const std::optional<std::uint64_t> since = SinceOther(run, arrival);
    if (IsInTime(since)) return std::string();
    const std::string& after = m_within->after;
    if (!since) return "within_ms: no " + (after.empty() ? "event" : after) + " came before it";
    return "within_ms: " + SpanText(*since) + " after " + (after.empty() ? "the event before it" : after) +
           ", expected within " + (*m_whole)["within_ms"].dump() + " ms";
}

bool IsExpected(const JsonObject& expected, const JsonObject& actual) {
    if (expected.is_array() && actual.is_array()) {
        return std::equal(expected.begin(), expected.end(), actual.begin(), actual.end(), IsExpected);
    }
    if (!expected.is_object() || !actual.is_object()) return expected == actual;
    for (const auto& [key, value] : expected.items()) {
        if (key == "key") continue;
        const auto found = actual.find(key);
        if (found == actual.end() || !IsExpected(value, *found)) return false;
    }
    return true;
}

}  // namespace qxlt
