// What is said on standard error, line by line, and how places in files are named there.
#pragma once

#include <cstddef>
#include <string>

#include "IQxLogTracker.h"

namespace qxlt {

// One line on standard error, written whole: "error: TEXT", "warning: TEXT", and TEXT by itself, made fit for a
// terminal. Any thread may call them.
void PrintError(const std::string& text);
void PrintWarning(const std::string& text);
void PrintNote(const std::string& text);

// A line for programs, as it is, on standard error. It is said also when nothing else is. Any thread.
void PrintData(const std::string& line);

// From now on PrintNote says nothing. Before any other thread runs.
void SetQuiet();
bool IsQuiet();

// Lets the library's diagnostics of that level through, on standard error unless the user's environment sends them
// elsewhere.
void SetLevel(EDebugLevel level);

// A place in a file, as errors name it: "FILE:LINE", "FILE:LINE:COLUMN", "FILE:OFFSET".
std::string Place(const std::string& file, std::size_t number);
std::string Place(const std::string& file, std::size_t line, std::size_t column);

// Takes the cursor of a terminal to the beginning of its line and wipes the line.
inline constexpr char kWipeLine[] = "\r\033[K";

}  // namespace qxlt
