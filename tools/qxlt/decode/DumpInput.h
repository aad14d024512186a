// Dump files as the tool takes them in.
#pragma once

#include <string>
#include <vector>

namespace qxlt {

// Throws a Failure (cannot start) for the first of the files that cannot be read, directories included, so that nothing
// is done by halves.
void RequireReadable(const std::vector<std::string>& files);

// The bytes of a dump, or a dump of what a recording holds. Throws a Failure (cannot start).
std::vector<char> ReadDump(const std::string& file);

}  // namespace qxlt
