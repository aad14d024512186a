// From the command line to the command that it asks for.
#pragma once

#include <string>
#include <vector>

namespace qxlt {

// Runs the tool with the arguments that follow its name; returns the exit status. Nothing is thrown.
int RunTool(std::vector<std::string> arguments);

}  // namespace qxlt
