// Which directory entries decide what a path leads to: those of the path itself, and those of all symbolic links on it.
// When one of them comes, goes or is another one, the file that the path names may be another one, too.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace qxlt {

// The names that count in each directory. A path that leads to nothing gives those as far as it goes.
using WatchedPlaces = std::map<std::string, std::set<std::string>>;

WatchedPlaces PlacesOf(const std::vector<std::string>& paths);

}  // namespace qxlt
