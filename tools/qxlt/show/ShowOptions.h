// What of a command's results is shown, and how.
#pragma once

#include <vector>

#include "CallFilter.h"
#include "LineLayout.h"
#include "TimeFormat.h"

namespace qxlt {

struct ShowOptions {
    TimeFormat time = TimeFormat::Chosen;
    std::vector<Column> columns;  // empty: the usual ones
    FilterPatterns filter;
};

// The format itself, or the one that suits a terminal, or whatever else the output goes to.
TimeFormat TimeFormatOf(const ShowOptions& options, bool isTerminal);

}  // namespace qxlt
