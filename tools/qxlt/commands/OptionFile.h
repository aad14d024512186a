// Options out of a file: lines of `name = value`, as options have them without their dashes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "CliFwd.h"

namespace qxlt {

struct OptionLine {
    std::string name;
    std::string value;  // "true" where the line has a name only
    std::size_t line;   // counted from 1
};

// Reads such lines. Empty ones, and those that begin with # or ;, say nothing. A value is all that stands behind the
// first =, but for blanks around it and one pair of quotes around all of it: nothing in it needs an escape. Throws a
// CLI::ParseError that names `place` and the line.
std::vector<OptionLine> ReadOptionLines(const std::string& place, const std::string& text);

// Adds --config, whose file says what options have that are not on the command line. `command` may get further options
// afterwards.
void AddConfigOption(CLI::App& command);

}  // namespace qxlt
