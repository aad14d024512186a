// Names travel with every byte one less than its character.
#pragma once

#include <cstddef>
#include <string>

// Appends `size` bytes at `pBuffer` to `out`, each plus one (modulo 256). Returns `size`, also for a null buffer, which
// is reported and appends nothing. Requires: the bytes are there.
unsigned ReadStringArg(const char* pBuffer, unsigned size, std::string& out);

// Writes the same bytes over all that `out` holds.
void AssignShifted(const char* bytes, std::size_t size, std::string& out);
