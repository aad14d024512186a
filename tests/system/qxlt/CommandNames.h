// The commands of the tool, as its help lists them.
#pragma once

#include <string>
#include <vector>

// Their names, in the order of the help.
std::vector<std::string> CommandNames();
