#include "DumpInput.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Failure.h"
#include "ReadFile.h"
#include "RecordingFiles.h"

namespace qxlt {

// A pipe is not opened: its bytes come once.
void RequireReadable(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        struct stat status = {};
        int error = stat(file.c_str(), &status) != 0 || access(file.c_str(), R_OK) != 0 ? errno : 0;
        if (error == 0 && S_ISDIR(status.st_mode)) error = EISDIR;
        if (error != 0)
            throw Failure(kCannotStart, file + ": " + std::strerror(error) + "; name a file that can be read");
    }
}

std::vector<char> ReadDump(const std::string& file) {
    if (IsRecording(file)) return DumpRecordings({file});
    return ReadBytes(file);
}

}  // namespace qxlt
