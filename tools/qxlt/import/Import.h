// Recordings of other tracers become captures. Each function ends with an ExitStatus, or throws a Failure.
#pragma once

#include <string>

namespace qxlt {

struct ImportOptions {
    std::string directory;  // of the recording
    std::string capture;    // a new directory
    std::string map;        // of CTF: the file that says what its events are; empty: their names do
};

// A program of its own does it, which needs more libraries than the rest of the tool: see ctf/.
int ImportCtf(const ImportOptions& options);

int ImportUftrace(const ImportOptions& options);

}  // namespace qxlt
