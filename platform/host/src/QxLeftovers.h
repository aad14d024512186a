// Clears the runtime directory of what dead processes left and nobody needs any more.
#pragma once

#include <string>

namespace qxhost {

class QxLeftovers {
public:
    // Removes half-made recordings of dead processes, and the recordings of dead processes of that name, but for the
    // one that began last: the end of the latest run is what a tracker may still want. Of other names, the recordings
    // of the 16 dead processes that began last stay.
    static void RemoveRecordings(int directoryFd, const std::string& processName);

    // Removes the dumps of dead readers, finished or not.
    static void RemoveDumps(int directoryFd);
};

}  // namespace qxhost
