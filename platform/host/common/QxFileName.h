// Names of the files in the runtime directory: NAME.PID.STARTTIME.SUFFIX, where PID and STARTTIME identify the process
// that writes the file and NAME is escaped so that any process name makes a valid, visible file name.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace qxhost {

struct QxFileName {
    static constexpr const char* kRecording = "qxrec";     // a recording
    static constexpr const char* kNewRecording = "qxnew";  // a recording that is being set up
    static constexpr const char* kDump = "qxdump";         // a dump, named by its reader's process
    static constexpr const char* kNewDump = "qxtmp";       // a dump that is being written

    // The start time that no process has: a recording of a program that its process ran before the present one.
    static constexpr std::uint64_t kReplaced = 0;

    std::string name;  // not escaped
    pid_t pid = 0;
    std::uint64_t startTime = 0;
    std::string suffix;

    // The file name. A name that would grow too long for a file system is cut and told apart by a checksum.
    std::string ToString() const;

    // Takes a file name apart; false when it has another shape.
    static bool Parse(const std::string& fileName, QxFileName& result);
};

}  // namespace qxhost
