#include "Companion.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "Failure.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

// Where it is: beside this program when that is built, in a folder for programs of programs when it is installed.
// Nothing: it is not there.
std::string FindProgram(const std::string& name) {
    std::error_code error;
    const fs::path here = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const fs::path& folder : {here, here.parent_path() / "libexec" / "qxlt"}) {
        std::string path = (folder / name).string();
        if (access(path.c_str(), X_OK) == 0) return path;
    }
    return std::string();
}

}  // namespace

void BecomeCompanion(const Companion& companion, std::vector<std::string> arguments) {
    const std::string program = FindProgram(companion.name);
    if (program.empty()) {
        throw Failure(kCannotStart, companion.work + ": " + companion.name +
                                        " is not installed, or qxlt was built without " + companion.library +
                                        "; install the package " + companion.name);
    }
    arguments.insert(arguments.begin(), companion.name);
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    execv(program.c_str(), words.data());
    throw Failure(kCannotStart,
                  program + ": " + std::strerror(errno) + "; install the package " + companion.name + " anew");
}

}  // namespace qxlt
