#include "QxLeftovers.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "QxFd.h"
#include "QxFileName.h"
#include "QxProcessInfo.h"

namespace qxhost {

namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

// Which of two processes began first. Writing through a mapping leaves no time stamp to go by.
bool BeganBefore(const QxFileName& left, const QxFileName& right) {
    return left.startTime != right.startTime ? left.startTime < right.startTime : left.pid < right.pid;
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
    QxFileName newest;
    std::string newestFile;
    for (const std::string& fileName : NamesIn(directoryFd)) {
        QxFileName name;
        if (!QxFileName::Parse(fileName, name) || QxProcessInfo::IsAlive(name.pid, name.startTime)) continue;
        std::string useless;
        if (name.suffix == QxFileName::kNewRecording) {
            useless = fileName;
        } else if (name.suffix == QxFileName::kRecording && name.name == processName) {
            const bool isNewest = newestFile.empty() || BeganBefore(newest, name);
            useless = isNewest ? newestFile : fileName;
            if (isNewest) {
                newest = name;
                newestFile = fileName;
            }
        }
        if (!useless.empty()) ::unlinkat(directoryFd, useless.c_str(), 0);
    }
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
