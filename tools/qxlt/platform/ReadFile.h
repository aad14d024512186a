// Reads files whole.
#pragma once

#include <climits>
#include <cstddef>
#include <string>
#include <vector>

namespace qxlt {

// Sizes of dumps and scripts are ints in the library.
inline constexpr std::size_t kMaxFileSize = INT_MAX;

// The whole of a file. Throws a Failure (cannot start) that names the file and the reason when it cannot be read,
// directories included, or has more than `most` bytes.
std::string ReadFile(const std::string& path, std::size_t most = kMaxFileSize);

// The same as the bytes of a dump.
std::vector<char> ReadBytes(const std::string& path);

// The same of a file that may be gone, as those of /proc are once their process is: empty when it cannot be read.
std::string ReadFileIfThere(const std::string& path);

}  // namespace qxlt
