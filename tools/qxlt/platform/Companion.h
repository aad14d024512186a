// Programs of the tool that are installed apart from it, so that the libraries which they take, and what those need in
// turn, are there only where they are wanted.
#pragma once

#include <string>
#include <vector>

namespace qxlt {

struct Companion {
    std::string name;     // of the program, and of the package that it comes with
    std::string work;     // what it is needed for: "import ctf"
    std::string library;  // without which it is not built
};

// Becomes that program, with these arguments behind its name; the process stays the same. Throws a Failure (cannot
// start) that names the package when it is not there, or cannot be run.
[[noreturn]] void BecomeCompanion(const Companion& companion, std::vector<std::string> arguments);

}  // namespace qxlt
