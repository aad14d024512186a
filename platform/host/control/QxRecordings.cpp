#include "QxRecordings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tuple>
#include <utility>

#include "QxCatalog.h"
#include "QxDirectory.h"
#include "QxDumpBuilder.h"
#include "QxOwners.h"
#include "QxRecordingFile.h"
#include "QxRecordingReader.h"
#include "QxRingReader.h"
#include "QxRuntimeDir.h"
#include "QxTidPool.h"

namespace qxhost {

using qx::host::RecordingInfo;

namespace {

constexpr std::uint64_t kBlockSize = 512;  // of st_blocks, whatever the file system's blocks are

struct Listed {
    QxFileName name;
    RecordingInfo info;
};

// When something was recorded last, as far as the rings can be read.
std::uint64_t LastTime(const QxRecordingFile& file) {
    std::uint64_t last = 0;
    for (std::size_t slot = 0; slot < qxlayout::kSlotCount; ++slot) {
        const QxRingView ring = file.Ring(slot);
        last = std::max(last, QxRingReader::LastTime(ring, ring.ReadSlot()));
    }
    return last;
}

// The file is opened as the control would open it: what cannot be read there cannot be read.
void ReadTimes(int directoryFd, const std::string& fileName, const QxFileName& name, RecordingInfo& info) {
    try {
        info.lastTime = LastTime(QxRecordingFile(directoryFd, fileName, name));
    } catch (const QxDamage& damage) {
        info.problem = damage.what();
    } catch (const QxOpenFailure& failure) {
        info.problem = std::strerror(failure.error);
    }
}

// False when the file has gone meanwhile.
bool Look(int directoryFd, const std::string& fileName, QxOwners& owners, Listed& listed) {
    struct stat status {};
    if (::fstatat(directoryFd, fileName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
    const pid_t owner = owners.Find(listed.name, status.st_ino);
    listed.info.process = listed.name.name;
    listed.info.pid = owner != 0 ? owner : listed.name.pid;
    listed.info.uid = status.st_uid;
    listed.info.bytes = static_cast<std::uint64_t>(status.st_blocks) * kBlockSize;
    listed.info.isRunning = owner != 0;
    ReadTimes(directoryFd, fileName, listed.name, listed.info);
    return true;
}

bool ComesBefore(const Listed& left, const Listed& right) {
    return std::tie(left.name.name, left.info.pid, left.name.startTime, left.info.path) <
           std::tie(right.name.name, right.info.pid, right.name.startTime, right.info.path);
}

void Add(std::string& problems, const std::string& problem) {
    problems += (problems.empty() ? "" : "; ") + problem;
}

std::string FileNameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

using Readers = std::vector<std::pair<std::string, std::unique_ptr<QxRecordingReader>>>;  // by their paths

void OpenReader(const std::string& path, QxTidPool& tids, QxOwners& owners, Readers& readers, std::string& problem) {
    try {
        QxRecordingFile file(path);
        const pid_t owner = owners.Find(file.Name(), file.GetId().second);
        if (owner != 0) file.SetPid(owner);
        readers.emplace_back(path, std::make_unique<QxRecordingReader>(std::move(file), tids, true));
    } catch (const QxDamage& damage) {
        Add(problem, path + ": " + damage.what());
    } catch (const QxOpenFailure& failure) {
        Add(problem, path + ": " + std::strerror(failure.error));
    }
}

}  // namespace

std::vector<RecordingInfo> QxRecordings::List(const std::string& directory, std::string& problem) {
    problem.clear();
    const QxFd fd = QxRuntimeDir::Open(directory, false, problem);
    std::vector<std::string> fileNames;
    if (fd && !QxDirectory::List(fd.Get(), fileNames)) {
        problem = "directory " + directory + " cannot be listed: " + std::strerror(errno);
    }
    QxOwners owners;
    std::vector<Listed> found;
    for (const std::string& fileName : fileNames) {
        Listed listed;
        if (!QxFileName::Parse(fileName, listed.name) || listed.name.suffix != QxFileName::kRecording) continue;
        listed.info.path.append(directory).append("/").append(fileName);
        if (Look(fd.Get(), fileName, owners, listed)) found.push_back(std::move(listed));
    }
    std::sort(found.begin(), found.end(), ComesBefore);
    std::vector<RecordingInfo> all;
    all.reserve(found.size());
    for (Listed& listed : found) all.push_back(std::move(listed.info));
    return all;
}

bool QxRecordings::IsOne(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    const QxFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    std::uint64_t magic = 0;
    return file && ::pread(file.Get(), &magic, sizeof(magic), 0) == sizeof(magic) && magic == qxlayout::kMagic;
}

// Nothing is committed, so nothing is told to the recorders. What is open now is written as if its process had ended:
// nobody will ask again.
bool QxRecordings::Dump(const std::vector<std::string>& paths, std::string& dump, std::string& problem) {
    problem.clear();
    QxTidPool tids;
    QxOwners owners;
    Readers readers;
    for (const std::string& path : paths) OpenReader(path, tids, owners, readers, problem);
    if (readers.empty()) return false;
    QxCatalog catalog;
    QxDumpBuilder builder;
    for (const auto& [path, reader] : readers) {
        reader->Read(catalog, builder, 0, false);
        if (!reader->Damage().empty()) Add(problem, path + ": " + reader->Damage());
    }
    dump = builder.Finish(QxDumpBuilder::Describe(catalog.Items()));
    return true;
}

bool QxRecordings::Remove(const std::string& path, std::string& problem) {
    struct stat status {};
    QxFileName name;
    const std::string fileName = FileNameOf(path);
    problem.clear();
    if (!QxFileName::Parse(fileName, name) || name.suffix != QxFileName::kRecording) {
        problem = "it is no recording";
    } else if (::lstat(path.c_str(), &status) == 0 && QxOwners().Find(name, status.st_ino) != 0) {
        problem = "its process runs";
    } else if (::unlink(path.c_str()) != 0) {
        problem = std::strerror(errno);
    }
    return problem.empty();
}

}  // namespace qxhost
