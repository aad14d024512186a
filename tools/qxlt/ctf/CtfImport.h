// Imports the traces in a directory, in this program.
#pragma once

#include "Import.h"

namespace qxlt {

// Ends with an ExitStatus, or throws a Failure.
int ImportCtfHere(const ImportOptions& options);

}  // namespace qxlt
