// Writing as much as there is, whatever a single write takes.
#pragma once

#include <cstddef>

namespace qxlt {

// Returns whether all was written; errno tells why not. Then a part of it may have been.
bool WriteAll(int file, const char* bytes, std::size_t size);

}  // namespace qxlt
