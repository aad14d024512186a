// The processes that run, found by their command names.
//
// The tracker's own look-up takes a process for found when its name is how the one asked for begins, since the system
// keeps 15 bytes of a name: "jobqq" finds "jobq". A person who names a process means that one; here a shorter name
// counts only where the system may have cut it.
#pragma once

#include <string>
#include <vector>

namespace qxlt {

// The ids of the processes of that name, the lowest first. One that has ended and that nobody has waited for does not
// run.
std::vector<unsigned long> FindRunning(const std::string& name);

// The names of running processes that may have been meant, the nearest first; empty when there is none.
std::string NearRunning(const std::string& name);

// That no process of that name runs, and which ones may have been meant: "jobqq does not run; jobq does".
std::string NotRunningText(const std::string& name);

}  // namespace qxlt
