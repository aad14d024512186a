#include "RunningProcesses.h"

#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <system_error>

#include "CommandName.h"
#include "Nearest.h"
#include "ReadFile.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

std::string ReadCommandName(const fs::path& process) {
    std::string name = ReadFileIfThere(process / "comm");
    if (!name.empty()) name.pop_back();  // the line's end
    return name;
}

// A first thread that has ended looks like a whole process that has, but for the threads that go on.
bool HasEnded(const fs::path& process) {
    const std::string line = ReadFileIfThere(process / "stat");
    const std::size_t nameEnd = line.rfind(')');  // the name may hold parentheses itself
    if (nameEnd == std::string::npos) return true;
    std::istringstream fields(line.substr(nameEnd + 1));
    std::vector<std::string> values{std::istream_iterator<std::string>(fields), {}};
    constexpr std::size_t kState = 0;
    constexpr std::size_t kThreads = 17;
    if (values.size() <= kThreads) return true;
    return values[kState] == "X" || (values[kState] == "Z" && values[kThreads] <= "1");
}

bool IsProcess(const std::string& entry) {
    return !entry.empty() && entry.find_first_not_of("0123456789") == std::string::npos;
}

// Their names by their ids.
std::map<unsigned long, std::string> ListProcesses() {
    std::map<unsigned long, std::string> processes;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
        const std::string number = entry->path().filename().string();
        if (!IsProcess(number)) continue;
        const std::string name = ReadCommandName(entry->path());
        if (!name.empty()) processes.emplace(std::stoul(number), name);
    }
    return processes;
}

}  // namespace

std::vector<unsigned long> FindRunning(const std::string& name) {
    std::vector<unsigned long> pids;
    for (const auto& [pid, running] : ListProcesses()) {
        if (running != CommandName(name)) continue;
        if (!HasEnded("/proc/" + std::to_string(pid))) pids.push_back(pid);
    }
    return pids;
}

// Those that the name begins with, the longest first, or else the one that is written nearly so.
std::string NearRunning(const std::string& name) {
    std::set<std::string> running;
    for (const auto& process : ListProcesses()) running.insert(process.second);
    std::string near;
    for (auto other = running.rbegin(); other != running.rend(); ++other) {
        if (name.compare(0, other->size(), *other) == 0) near += (near.empty() ? "" : ", ") + *other;
    }
    return near.empty() ? Suggestion(name, {running.begin(), running.end()}) : near;
}

std::string NotRunningText(const std::string& name) {
    const std::string near = NearRunning(name);
    const char* const verb = near.find(',') == std::string::npos ? " does" : " do";
    return name + " does not run" + (near.empty() ? "" : "; " + near + verb);
}

}  // namespace qxlt
