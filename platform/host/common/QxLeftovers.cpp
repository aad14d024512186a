#include "QxLeftovers.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

#include "QxDirectory.h"
#include "QxFd.h"
#include "QxFileName.h"
#include "QxLayout.h"
#include "QxOwners.h"
#include "QxProcessInfo.h"
#include "QxRecordingClock.h"
#include "QxSignalGuard.h"

namespace qxhost {

using namespace qxlayout;

namespace {

constexpr std::size_t kOthersKept = 16;

// Another one that starts holds the lock for some system calls, unless it is stopped just then.
constexpr int kLockAttempts = 1000;

constexpr int kOpenFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

struct Leftover {
    QxFileName name;
    std::string fileName;
    std::uint64_t endSeen = 0;  // 0: it is no recording that anybody could read
};

// Which of two ended first, as far as that was seen; of those that were seen together, which began first.
bool EndedBefore(const Leftover& left, const Leftover& right) {
    return std::tie(left.endSeen, left.name.startTime, left.name.pid) <
           std::tie(right.endSeen, right.name.startTime, right.name.pid);
}

// Only a recording is known to be let go by a process that goes on.
bool HasEnded(int directoryFd, const std::string& fileName, const QxFileName& name, QxOwners& owners) {
    if (name.suffix != QxFileName::kRecording) return !QxProcessInfo::IsAlive(name.pid, name.startTime);
    struct stat status {};
    return ::fstatat(directoryFd, fileName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           owners.Find(name, status.st_ino) == 0;
}

// The files with that suffix of processes that have ended. What cannot be listed is for another time.
std::vector<Leftover> Leftovers(int directoryFd, const std::string& suffix) {
    std::vector<std::string> fileNames;
    QxDirectory::List(directoryFd, fileNames);
    QxOwners owners;
    std::vector<Leftover> found;
    for (const std::string& fileName : fileNames) {
        Leftover leftover;
        if (!QxFileName::Parse(fileName, leftover.name) || leftover.name.suffix != suffix) continue;
        leftover.fileName = fileName;
        if (HasEnded(directoryFd, fileName, leftover.name, owners)) found.push_back(std::move(leftover));
    }
    return found;
}

// A word in the header of a recording; false when there is none.
bool ReadWord(int fd, HeaderWord word, std::uint64_t& value) {
    std::uint64_t magic = 0;
    const auto read = [fd](HeaderWord at, std::uint64_t& out) {
        return ::pread(fd, &out, sizeof(out), static_cast<off_t>(at * sizeof(Word))) == sizeof(out);
    };
    return read(kHeaderMagic, magic) && magic == kMagic && read(word, value);
}

bool WriteWord(int fd, HeaderWord word, std::uint64_t value) {
    const QxSignalGuard guard(QxSignalGuard::kOfWriting);
    if (::pwrite(fd, &value, sizeof(value), static_cast<off_t>(word * sizeof(Word))) == sizeof(value)) return true;
    guard.Take();
    return false;
}

bool Lock(int fd) {
    for (int attempt = 0; attempt < kLockAttempts; ++attempt) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
        ::sched_yield();
    }
    return false;
}

// Whether a program of the name of the recording has started before since it ended. What is no recording has no reader
// to wait for.
bool HasBeenFollowed(int directoryFd, const Leftover& leftover) {
    const QxFd file(::openat(directoryFd, leftover.fileName.c_str(), kOpenFlags));
    if (!file && (errno == EMFILE || errno == ENFILE || errno == ENOMEM)) return false;
    std::uint64_t starts = 1;
    return !file || !ReadWord(file.Get(), kHeaderStartsSince, starts) || starts != 0;
}

// Notes when the recording was first seen to have ended. Times of an earlier run of the system may lie ahead.
void NoteEnd(int directoryFd, std::uint64_t now, Leftover& leftover) {
    const QxFd file(::openat(directoryFd, leftover.fileName.c_str(), kOpenFlags));
    if (!file || !ReadWord(file.Get(), kHeaderEndSeen, leftover.endSeen)) return;
    if (leftover.endSeen != 0 && leftover.endSeen <= now) return;
    leftover.endSeen = now;
    WriteWord(file.Get(), kHeaderEndSeen, now);
}

std::size_t OthersAfter(const std::vector<Leftover>& all, const Leftover& leftover) {
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [&leftover](const Leftover& other) {
        return other.name.name != leftover.name.name && EndedBefore(leftover, other);
    }));
}

}  // namespace

void QxLeftovers::MakeRoom(int directoryFd, const std::string& processName) {
    const auto remove = [directoryFd](const Leftover& leftover) {
        ::unlinkat(directoryFd, leftover.fileName.c_str(), 0);
    };
    for (const Leftover& leftover : Leftovers(directoryFd, QxFileName::kNewRecording)) remove(leftover);
    std::vector<Leftover> all = Leftovers(directoryFd, QxFileName::kRecording);
    const std::uint64_t now = NowNs();
    for (Leftover& leftover : all) NoteEnd(directoryFd, now, leftover);
    for (const Leftover& leftover : all) {
        const bool isOutlived = leftover.name.name == processName && HasBeenFollowed(directoryFd, leftover);
        if (isOutlived || OthersAfter(all, leftover) >= kOthersKept) remove(leftover);
    }
}

// Two that start at once count one after the other, and the second one removes.
void QxLeftovers::CountStart(int directoryFd, const std::string& processName) {
    for (const Leftover& leftover : Leftovers(directoryFd, QxFileName::kRecording)) {
        if (leftover.name.name != processName) continue;
        const QxFd file(::openat(directoryFd, leftover.fileName.c_str(), kOpenFlags));
        std::uint64_t starts = 0;
        if (!file || !Lock(file.Get()) || !ReadWord(file.Get(), kHeaderStartsSince, starts)) continue;
        if (starts == 0)
            WriteWord(file.Get(), kHeaderStartsSince, 1);
        else
            ::unlinkat(directoryFd, leftover.fileName.c_str(), 0);
    }
}

void QxLeftovers::RemoveDumps(int directoryFd) {
    for (const char* suffix : {QxFileName::kDump, QxFileName::kNewDump}) {
        for (const Leftover& leftover : Leftovers(directoryFd, suffix)) {
            ::unlinkat(directoryFd, leftover.fileName.c_str(), 0);
        }
    }
}

}  // namespace qxhost
