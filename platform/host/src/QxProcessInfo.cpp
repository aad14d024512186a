#include "QxProcessInfo.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace qxhost {

std::string QxProcessInfo::OwnName() {
    std::ifstream file("/proc/self/comm", std::ios::binary);
    std::string name;
    std::getline(file, name);
    return name;
}

std::uint64_t QxProcessInfo::StartTime(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat", std::ios::binary);
    std::string line;
    std::getline(file, line, '\0');
    // The command name stands in parentheses and may itself hold blanks and parentheses.
    const std::size_t nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) return 0;
    std::istringstream fields(line.substr(nameEnd + 1));
    std::string field;
    fields >> field;
    if (field == "Z" || field == "X") return 0;
    constexpr int kFieldsBetweenStateAndStartTime = 19;
    for (int i = 0; i < kFieldsBetweenStateAndStartTime; ++i) fields >> field;
    return std::strtoull(field.c_str(), nullptr, 10);
}

bool QxProcessInfo::IsAlive(pid_t pid, std::uint64_t startTime) {
    return startTime != 0 && StartTime(pid) == startTime;
}

}  // namespace qxhost
