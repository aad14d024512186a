// The exit statuses, and what ends a command before its work is done.
#pragma once

#include <stdexcept>
#include <string>

namespace qxlt {

enum ExitStatus : int {
    kDone = 0,
    kInputWrong = 1,   // a damaged dump, an event in error, a script that is not well-formed, a failed test
    kCannotStart = 2,  // usage, or a file that cannot be read
};

// Ends the command: its text is printed as one line, "error: " before it, and the status is the tool's.
class Failure : public std::runtime_error {
public:
    Failure(ExitStatus status, const std::string& text) : std::runtime_error(text), m_status(status) {}
    ExitStatus Status() const { return m_status; }

private:
    ExitStatus m_status;
};

}  // namespace qxlt
