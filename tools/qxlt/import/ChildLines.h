// Runs a program, without a shell, and reads the lines that it prints while it runs.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qxlt {

struct ChildEnd {
    bool isGood = false;  // it ended with status 0
    std::string error;    // the last line that it wrote to standard error, or how it ended
};

// Hands on each line, without its end; of one that is longer than `mostLine` bytes the rest comes as further lines.
// Throws a Failure (cannot start) that names the program when it cannot be run, with what helps as `advice`.
ChildEnd ReadChildLines(const std::vector<std::string>& command, const std::string& advice, std::size_t mostLine,
                        const std::function<void(std::string_view)>& sink);

}  // namespace qxlt
