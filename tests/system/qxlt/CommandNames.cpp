#include "CommandNames.h"

#include <sstream>

#include "Child.h"

std::vector<std::string> CommandNames() {
    const std::string help = RunTool({"--help"}).output;
    const std::string heading = "Subcommands:";
    std::istringstream list(help.substr(help.find(heading) + heading.size()));
    std::vector<std::string> names;
    for (std::string line; std::getline(list, line);) {
        // Two blanks stand before a name, and more before the further lines of a description.
        if (line.size() > 2 && line.compare(0, 2, "  ") == 0 && line[2] != ' ') {
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
    }
    return names;
}
