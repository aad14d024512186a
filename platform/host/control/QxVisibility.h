// Finds out why nothing can be read of a process that runs, and what to do about it. All it goes by is what the system
// tells of the process; nothing that the process could have put into the way is opened.
#pragma once

#include <sys/types.h>

#include <string>

#include "qx/control.h"

namespace qxhost {

class QxVisibility {
public:
    // Of a process without a recording in the runtime directory, which is given by its path.
    static qx::host::ProcessState Diagnose(pid_t pid, const std::string& directory);

    // Of a process whose recording cannot be read for that reason.
    static qx::host::ProcessState Unreadable(pid_t pid, const std::string& reason);
};

}  // namespace qxhost
