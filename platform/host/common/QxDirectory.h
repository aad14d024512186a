// Reads a directory.
#pragma once

#include <string>
#include <vector>

namespace qxhost {

class QxDirectory {
public:
    // Gives the names in the directory, in no particular order. False when it cannot be read to its end; errno says
    // why.
    static bool List(int directoryFd, std::vector<std::string>& names);
};

}  // namespace qxhost
