#include "QxProcessInfo.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

#include "QxDirectory.h"
#include "QxFd.h"

namespace qxhost {

namespace {

constexpr std::size_t kMaxStatSize = 1024;  // the line takes some hundred bytes

// From the text that follows the command name: 0 when the process has ended. Its first thread may end while others go
// on, and then looks as dead as a process that nobody waited for.
std::uint64_t ParseStartTime(const std::string& text) {
    std::istringstream fields(text);
    std::string state;
    fields >> state;
    const auto skip = [&fields](int count) {
        for (std::string field; count > 0; --count) fields >> field;
    };
    constexpr int kFieldsBeforeThreads = 16;
    skip(kFieldsBeforeThreads);
    long threads = 0;
    fields >> threads;
    skip(1);
    std::uint64_t startTime = 0;
    fields >> startTime;
    const bool hasEnded = state == "X" || (state == "Z" && threads <= 1);
    return hasEnded ? 0 : startTime;
}

// The system's account of the process's first thread, which tells its name, its start time and how many threads there
// are as /proc/PID/stat does. That one an emulator answers by itself when a process asks for its own, with another
// start time than everyone else is told. Nothing when it cannot be read; errno says why.
std::optional<std::string> ReadStat(pid_t pid) {
    const std::string number = std::to_string(pid);
    const std::string path = "/proc/" + number + "/task/" + number + "/stat";
    const QxFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string line(kMaxStatSize, '\0');
    const ssize_t size = file ? ::read(file.Get(), &line[0], line.size()) : -1;
    if (size < 0) return std::nullopt;
    line.resize(static_cast<std::size_t>(size));
    return line;
}

// The start time, 0 when the process has ended, and nothing when the system does not tell: for lack of descriptors,
// say.
std::optional<std::uint64_t> AskStartTime(pid_t pid) {
    const std::optional<std::string> line = ReadStat(pid);
    if (!line) {
        if (errno == ENOENT || errno == ESRCH) return 0;
        return std::nullopt;
    }
    // The command name stands in parentheses and may itself hold blanks and parentheses.
    const std::size_t nameEnd = line->rfind(')');
    if (nameEnd == std::string::npos) return std::nullopt;
    return ParseStartTime(line->substr(nameEnd + 1));
}

}  // namespace

std::string QxProcessInfo::OwnName() {
    std::ifstream file("/proc/self/comm", std::ios::binary);
    std::string name;
    std::getline(file, name);
    return name;
}

std::string QxProcessInfo::CommandName(pid_t pid) {
    const std::string line = ReadStat(pid).value_or("");
    const std::size_t begin = line.find('(');
    const std::size_t end = line.rfind(')');
    if (begin == std::string::npos || end == std::string::npos || end < begin) return {};
    return line.substr(begin + 1, end - begin - 1);
}

pid_t QxProcessInfo::InnerPid(pid_t pid) {
    std::istringstream numbers(Status(pid, "NSpid:"));
    pid_t inner = pid;
    for (pid_t number = 0; numbers >> number;) inner = number;
    return inner;
}

std::string QxProcessInfo::Status(pid_t pid, const std::string& label) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, label.size(), label) == 0) return line.substr(label.size());
    }
    return {};
}

std::set<pid_t> QxProcessInfo::All() {
    std::set<pid_t> all;
    std::vector<std::string> names;
    const QxFd directory(::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory) QxDirectory::List(directory.Get(), names);
    for (const std::string& name : names) {
        if (name.find_first_not_of("0123456789") == std::string::npos) all.insert(std::stoi(name));
    }
    return all;
}

std::uint64_t QxProcessInfo::StartTime(pid_t pid) {
    return AskStartTime(pid).value_or(0);
}

bool QxProcessInfo::IsAlive(pid_t pid, std::uint64_t startTime) {
    return startTime != 0 && AskStartTime(pid).value_or(startTime) == startTime;
}

}  // namespace qxhost
