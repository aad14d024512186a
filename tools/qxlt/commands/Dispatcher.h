// From the command line to the command that it asks for.
#pragma once

#include <string>
#include <vector>

#include "Extensions.h"

namespace qxlt {

// Runs the tool with the arguments that follow its name; returns the exit status. `extensions` is what this program
// does beyond qxlt. Nothing is thrown.
int RunTool(std::vector<std::string> arguments, const Extensions& extensions = {});

}  // namespace qxlt
