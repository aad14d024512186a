// What stored values and texts of scripts are turned into.
#pragma once

#include <string>
#include <vector>

// Appends the pieces of `text` between the delimiters to `out`. An empty text has no pieces, and a delimiter at the end
// is followed by none; one at the beginning, and two in a row, give an empty piece. Requires: `delimiter` is not empty.
void split(std::string text, std::string delimiter, std::vector<std::string>& out);

namespace qxconversions {

// The stored bytes less one each, which is what the process passed.
std::string ToText(std::string raw);

// The same as a decimal number: 32 bits, little-endian, signed; further bytes add nothing.
std::string ToNumber(const std::string& raw);

}  // namespace qxconversions
