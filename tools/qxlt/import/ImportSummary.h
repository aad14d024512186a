// What an import tells at its end.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ImportedCapture.h"

namespace qxlt {

// Completes the capture, prints what it holds, and warns of what has no place in it. Returns the exit status: something
// was wrong when the recording was not `whole`, or it held no call. Throws a Failure (cannot start).
int FinishImport(ImportedCapture& capture, const std::string& directory, std::optional<std::int64_t> clockOffset,
                 bool whole);

}  // namespace qxlt
