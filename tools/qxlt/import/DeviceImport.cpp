// What writes dumps belongs to the host platform.
#include "Failure.h"
#include "Import.h"

namespace qxlt {

namespace {

[[noreturn]] void CannotImport() {
    throw Failure(kCannotStart, "import is left out of a tool for this device; import on a host, and copy the capture");
}

}  // namespace

int ImportCtf(const ImportOptions&) {
    CannotImport();
}

int ImportUftrace(const ImportOptions&) {
    CannotImport();
}

}  // namespace qxlt
