// Traces in CTF are read by a program beside this one, so that the library which that takes, and what it needs in turn,
// is installed only where it is wanted.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include "Failure.h"
#include "Import.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

constexpr char kProgram[] = "qxlt-import-ctf";

// Where it is: beside this program when that is built, in a folder for programs of programs when it is installed.
std::string FindProgram() {
    std::error_code error;
    const fs::path here = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const fs::path& folder : {here, here.parent_path() / "libexec" / "qxlt"}) {
        std::string path = (folder / kProgram).string();
        if (access(path.c_str(), X_OK) == 0) return path;
    }
    throw Failure(kCannotStart,
                  std::string("import ctf: ") + kProgram +
                      " is not installed, or qxlt was built without libbabeltrace2; install the package " + kProgram);
}

}  // namespace

int ImportCtf(const ImportOptions& options) {
    std::string program = FindProgram();
    std::vector<std::string> words = {kProgram, options.directory, options.capture};
    if (!options.map.empty()) words.push_back(options.map);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    throw Failure(kCannotStart, program + ": " + std::strerror(errno) + "; install the package " + kProgram + " anew");
}

}  // namespace qxlt
