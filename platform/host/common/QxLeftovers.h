// Clears the runtime directory of what dead processes left and nobody needs any more. The recording of a process that
// has ended stays until a program of its name has started twice since, or 16 recordings of processes of other names
// that ended after it lie there: the end of a run is wanted most when the program has been started again, and programs
// whose names change from run to run must not fill the file system.
#pragma once

#include <string>

namespace qxhost {

class QxLeftovers {
public:
    // Makes room for the recording of a program that starts: removes what its start is the second one for, what too
    // many others have ended after, and half-made recordings. May be called more than once for a start.
    static void MakeRoom(int directoryFd, const std::string& processName);

    // Counts the start of a program, once its recording is made.
    static void CountStart(int directoryFd, const std::string& processName);

    // Removes the dumps of dead readers, finished or not.
    static void RemoveDumps(int directoryFd);
};

}  // namespace qxhost
