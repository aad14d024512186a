// The names in a capture, a directory that holds the dumps of a run: what its writer and its reader agree on.
#pragma once

#include <cstdint>
#include <string>

namespace qxlt {

inline constexpr char kCaptureFile[] = "capture.json";
inline constexpr int kCaptureVersion = 1;

// "000001" for the first cycle; longer when six digits do not do.
std::string CycleName(std::uint64_t number);

// A text as a part of a file name. Bytes other than letters, digits, '.', '_' and '-', and a '.' at the beginning,
// become %XX, so that every text gives a name of its own.
std::string FileNameOf(const std::string& text);

// The name of a process's dump file.
std::string DumpName(const std::string& process);

// The same for the file with the counts of that dump.
std::string LossName(const std::string& process);

// And for the one with what became of the process itself.
std::string ChangesName(const std::string& process);

}  // namespace qxlt
