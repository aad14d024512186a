// Starts a command of the user's with what was traced beside it, never within it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qxlt {

struct ProgramStart {
    std::string command;                   // for the shell, as the user wrote it
    std::vector<std::string> environment;  // "NAME=VALUE", in place of what this process has under these names
    std::string input;                     // all that its standard input holds
};

// Starts /bin/sh -c COMMAND as the leader of a session and a group of its own. Its standard output is standard error:
// the tool's results stay apart. It has no other descriptors of this process, no signals that are blocked or ignored.
// Returns its id. Throws std::system_error.
pid_t StartProgram(const ProgramStart& start);

}  // namespace qxlt
