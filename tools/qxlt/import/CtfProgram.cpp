// Traces in CTF are read by a program beside this one, so that the library which that takes, and what it needs in turn,
// is installed only where it is wanted.
#include <vector>

#include "Companion.h"
#include "Import.h"

namespace qxlt {

int ImportCtf(const ImportOptions& options) {
    std::vector<std::string> arguments = {options.directory, options.capture};
    if (!options.map.empty()) arguments.push_back(options.map);
    BecomeCompanion({"qxlt-import-ctf", "import ctf", "libbabeltrace2"}, std::move(arguments));
}

}  // namespace qxlt
