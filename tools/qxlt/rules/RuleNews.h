// What is said when a set of rules takes over: as text on standard error, since it is no event; in JSON as a line of
// the output.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Format.h"
#include "Output.h"
#include "RuleSet.h"

namespace qxlt {

struct RuleNews {
    std::uint64_t cycle;  // the first one of theirs
    const RuleNumbers& rules;
    const std::vector<std::string>& anew;  // events that ran before, and of which nothing is remembered any more
};

void PrintRules(Format format, Output& output, const RuleNews& news);

}  // namespace qxlt
