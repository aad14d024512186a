// What differs between the lines that were expected and those that came.
#pragma once

#include <string>
#include <vector>

#include "JsonFwd.h"

namespace qxlt {

struct DiffLine {
    enum class Kind { Missing, Unexpected } kind;
    SharedJson line;
};

// Whether the line that came is the expected one. An expected object may leave keys out, also one in a
// list; "key" does not count.
bool IsExpected(const JsonObject& expected, const JsonObject& actual);

// The lines that are on one side only, in order; both sides are aligned so that these are few.
std::vector<DiffLine> Diff(const std::vector<JsonObject>& expected, const std::vector<JsonObject>& actual);

}  // namespace qxlt
