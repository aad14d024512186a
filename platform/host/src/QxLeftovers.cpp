#include "QxLeftovers.h"

#include <unistd.h>

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include "QxDirectory.h"
#include "QxFileName.h"
#include "QxProcessInfo.h"

namespace qxhost {

namespace {

// Programs whose names change from run to run must not fill the file system.
constexpr std::size_t kOthersKept = 16;

struct Leftover {
    QxFileName name;
    std::string fileName;
};

// Which of two processes began first. Writing through a mapping leaves no time stamp to go by.
bool BeganBefore(const Leftover& left, const Leftover& right) {
    return std::tie(left.name.startTime, left.name.pid) < std::tie(right.name.startTime, right.name.pid);
}

void RemoveAllButNewest(int directoryFd, std::vector<Leftover> files, std::size_t kept) {
    std::sort(files.begin(), files.end(), BeganBefore);
    for (std::size_t i = 0; i + kept < files.size(); ++i) ::unlinkat(directoryFd, files[i].fileName.c_str(), 0);
}

// As far as they can be listed: what is missed is removed another time.
std::vector<std::string> NamesIn(int directoryFd) {
    std::vector<std::string> names;
    QxDirectory::List(directoryFd, names);
    return names;
}

}  // namespace

void QxLeftovers::RemoveRecordings(int directoryFd, const std::string& processName) {
    std::vector<Leftover> own;
    std::vector<Leftover> others;
    for (const std::string& fileName : NamesIn(directoryFd)) {
        QxFileName name;
        if (!QxFileName::Parse(fileName, name) || QxProcessInfo::IsAlive(name.pid, name.startTime)) continue;
        if (name.suffix == QxFileName::kNewRecording) ::unlinkat(directoryFd, fileName.c_str(), 0);
        if (name.suffix != QxFileName::kRecording) continue;
        (name.name == processName ? own : others).push_back({name, fileName});
    }
    RemoveAllButNewest(directoryFd, std::move(own), 1);
    RemoveAllButNewest(directoryFd, std::move(others), kOthersKept);
}

void QxLeftovers::RemoveDumps(int directoryFd) {
    for (const std::string& fileName : NamesIn(directoryFd)) {
        QxFileName name;
        if (!QxFileName::Parse(fileName, name)) continue;
        if (name.suffix != QxFileName::kDump && name.suffix != QxFileName::kNewDump) continue;
        if (!QxProcessInfo::IsAlive(name.pid, name.startTime)) ::unlinkat(directoryFd, fileName.c_str(), 0);
    }
}

}  // namespace qxhost
