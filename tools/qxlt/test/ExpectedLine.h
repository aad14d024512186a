// A line of expected.jsonl: the keys that an event, or a fault in the input, is to have, and rules.
//
//   {"event":"TICK","count":{"min":3}}              however many events match the line, in any place: "min", "max" or
//                                                   both, or the number itself
//   {"event":"OPEN","after":"KNOCK","within_ms":500}  its call begins at most so long after that of the latest event of
//                                                   that name; without "after": of the event before it
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "JsonFwd.h"
#include "RunLines.h"

namespace qxlt {

// How many events are to match a line.
struct CountRule {
    std::uint64_t min = 0;
    std::uint64_t max = std::numeric_limits<std::uint64_t>::max();

    // "3", "at least 3", "at most 3", "3 to 5".
    std::string Text() const;
};

// How soon an event is to come.
struct WithinRule {
    double ms = 0;
    std::string after;  // the event's name; empty: the one before
};

// A line that came, where expected lines are compared in order.
struct Arrival {
    std::size_t line;                   // of the run
    std::optional<std::size_t> before;  // the event before it
};

class ExpectedLine final {
public:
    // Reads the line at `place`. Throws a Failure (cannot start) that names the place for what is no JSON object and
    // for rules that are none.
    ExpectedLine(const std::string& place, std::string text);

    // As it was written, also as JSON, and the keys that are compared.
    const std::string& Text() const { return m_text; }
    const SharedJson& Whole() const { return m_whole; }
    const JsonObject& Keys() const { return *m_keys; }

    // Where there is none the line stands for one event, in its place among the others.
    const std::optional<CountRule>& Count() const { return m_count; }

    // Whether the line that came has the keys, and came soon enough.
    bool Matches(const RunLines& run, const Arrival& arrival) const;

    // Why it did not come soon enough: "within_ms: 700.0 ms after KNOCK, expected within 500 ms"; empty: it did.
    std::string LatenessOf(const RunLines& run, const Arrival& arrival) const;

private:
    void ReadRules(const std::string& place);
    bool IsInTime(std::optional<std::uint64_t> since) const;
    std::optional<std::uint64_t> SinceOther(const RunLines& run, const Arrival& arrival) const;

    std::string m_text;
    SharedJson m_whole;
    SharedJson m_keys;
    std::optional<CountRule> m_count;
    std::optional<WithinRule> m_within;
};

// Whether the line that came is the expected one. An expected object may leave keys out, also one in a list; "key" does
// not count.
bool IsExpected(const JsonObject& expected, const JsonObject& actual);

}  // namespace qxlt
