#include "QxLeftovers.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <tuple>
#include <utility>

#include "QxFd.h"
#include "QxFileName.h"
#include "QxProcessInfo.h"

namespace qxhost {

namespace {

// Programs whose names change from run to run must not fill the file system.
constexpr std::size_t kOthersKept = 16;

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

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
    QxLeftovers::List(directoryFd, names);
    return names;
}

}  // namespace

bool QxLeftovers::List(int directoryFd, std::vector<std::string>& names) {
    names.clear();
    QxFd fd(::openat(directoryFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, DirectoryCloser> directory(fd ? ::fdopendir(fd.Get()) : nullptr);
    if (directory == nullptr) return false;
    fd.Release();
    errno = 0;
    while (const dirent* entry = ::readdir(directory.get())) {
        names.emplace_back(entry->d_name);
        errno = 0;
    }
    return errno == 0;
}

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
