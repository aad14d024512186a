// The name that a running process is found by.
#pragma once

#include <cstddef>
#include <string>

namespace qxlt {

inline constexpr std::size_t kCommandName = 15;  // bytes that the system keeps of a process's name

// As much of a name as a process is found by.
inline std::string CommandName(const std::string& process) {
    return process.substr(0, kCommandName);
}

}  // namespace qxlt
