// What all commands share: the exit statuses, the common options, and the way in which errors are told.
#pragma once

#include <climits>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "IQxLogTracker.h"

namespace qxlt {

enum ExitStatus : int {
    kDone = 0,
    kInputWrong = 1,   // a damaged dump, an event in error, a script that is not well-formed, a failed test
    kCannotStart = 2,  // usage, or a file that cannot be read
};

enum class Format { Text, Json };

struct CommonOptions {
    Format format = Format::Text;
    EDebugLevel level = Silent;
};

// Ends the command: its text is printed as one line, "error: " before it, and the status is the tool's.
class Failure : public std::runtime_error {
public:
    Failure(ExitStatus status, const std::string& text) : std::runtime_error(text), m_status(status) {}
    ExitStatus Status() const { return m_status; }

private:
    ExitStatus m_status;
};

// One line on standard error, written whole: "error: TEXT", "warning: TEXT", and TEXT by itself, made fit for a
// terminal. Any thread may call them.
void PrintError(const std::string& text);
void PrintWarning(const std::string& text);
void PrintNote(const std::string& text);

// A place in a file, as errors name it: "FILE:LINE", "FILE:LINE:COLUMN", "FILE:OFFSET".
std::string Place(const std::string& file, std::size_t number);
std::string Place(const std::string& file, std::size_t line, std::size_t column);

// Lets the library's diagnostics of that level through, on standard error unless the user's environment sends them
// elsewhere.
void SetLevel(EDebugLevel level);

// Takes the cursor of a terminal to the beginning of its line and wipes the line.
inline constexpr char kWipeLine[] = "\r\033[K";

// Sizes of dumps and scripts are ints in the library.
inline constexpr std::size_t kMaxFileSize = INT_MAX;

// The whole of a file. Throws a Failure (cannot start) that names the file and the reason when it cannot be read,
// directories included, or has more than `most` bytes.
std::string ReadFile(const std::string& path, std::size_t most = kMaxFileSize);

}  // namespace qxlt
