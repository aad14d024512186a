#include "QxRecording.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "QxFileName.h"
#include "QxLeftovers.h"
#include "QxProcessInfo.h"
#include "QxRuntimeDir.h"
#include "QxSignalGuard.h"

namespace qxhost {

using namespace qxlayout;

namespace {

constexpr std::size_t kRecordHead = 5;  // length and kind

// Gives a file its size, or fails, also where the size of files is limited.
bool Resize(int fd, std::uint64_t size) {
    const QxSignalGuard guard(QxSignalGuard::kOfWriting);
    if (::ftruncate(fd, static_cast<off_t>(size)) == 0) return true;
    guard.Take();
    return false;
}

std::string Failure(const std::string& what) {
    return "recording " + what + ": " + std::strerror(errno);
}

}  // namespace

QxRecording::QxRecording(const std::string& directory, const Geometry& geometry)
    : m_directory(directory),
      m_geometry(geometry),
      m_processName(QxProcessInfo::OwnName()),
      m_startTime(QxProcessInfo::StartTime(::getpid())),
      m_fileName(QxFileName{m_processName, ::getpid(), m_startTime, QxFileName::kRecording}.ToString()) {}

std::unique_ptr<QxRecording> QxRecording::Create(const std::string& directory, const Geometry& geometry,
                                                 bool refuseWhenFull, std::string& error) {
    const QxFd directoryFd = QxRuntimeDir::Open(directory, true, error);
    if (!directoryFd) return nullptr;
    std::unique_ptr<QxRecording> recording(new QxRecording(directory, geometry));
    QxLeftovers::MakeRoom(directoryFd.Get(), recording->m_processName);
    if (!recording->Write(directoryFd.Get(), refuseWhenFull, error)) return nullptr;
    QxLeftovers::CountStart(directoryFd.Get(), recording->m_processName);
    return recording;
}

bool QxRecording::Write(int directoryFd, bool refuseWhenFull, std::string& error) {
    QxFileName name{m_processName, ::getpid(), m_startTime, QxFileName::kNewRecording};
    const std::string newName = name.ToString();
    ::unlinkat(directoryFd, newName.c_str(), 0);
    const QxFd file(::openat(directoryFd, newName.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    struct stat status {};
    if (!file || !Resize(file.Get(), m_geometry.FileSize()) || ::fstat(file.Get(), &status) != 0 ||
        !(m_front = QxMapping(file.Get(), 0, m_geometry.FrontSize()))) {
        error = Failure("file " + newName + " in " + m_directory);
        if (file) ::unlinkat(directoryFd, newName.c_str(), 0);
        return false;
    }
    m_device = status.st_dev;
    m_inode = status.st_ino;
    WriteHeader(refuseWhenFull);
    // A program that runs another one in its place keeps its id and start time; what it had recorded is kept aside.
    name = {m_processName, ::getpid(), QxFileName::kReplaced, QxFileName::kRecording};
    ::renameat(directoryFd, m_fileName.c_str(), directoryFd, name.ToString().c_str());
    if (::renameat(directoryFd, newName.c_str(), directoryFd, m_fileName.c_str()) == 0) return true;
    error = Failure("file " + m_fileName + " in " + m_directory);
    ::unlinkat(directoryFd, newName.c_str(), 0);
    return false;
}

void QxRecording::WriteHeader(bool refuseWhenFull) {
    SharedWord* header = Header();
    const auto store = [header](HeaderWord word, std::uint64_t value) {
        header[word].store(value, std::memory_order_relaxed);
    };
    store(kHeaderPageSize, m_geometry.pageSize);
    store(kHeaderPageCount, m_geometry.pageCount);
    store(kHeaderMetaSize, m_geometry.metaSize);
    store(kHeaderMode, refuseWhenFull ? 1 : 0);
    store(kHeaderPid, static_cast<std::uint64_t>(::getpid()));
    store(kHeaderStartTime, m_startTime);
    const std::size_t nameSize = std::min<std::size_t>(m_processName.size(), 16);
    store(kHeaderNameSize, nameSize);
    std::memcpy(m_front.Bytes(kHeaderName * sizeof(Word)), m_processName.data(), nameSize);
    for (std::size_t slot = 0; slot < kSlotCount; ++slot) {
        SlotWords(slot)[kSlotConsumedInverted].store(~std::uint64_t{0}, std::memory_order_relaxed);
    }
    header[kHeaderMagic].store(kMagic, std::memory_order_release);
}

std::size_t QxRecording::MetadataSize(const std::string& content) {
    return kRecordHead + content.size();
}

bool QxRecording::AppendMetadata(MetaKind kind, const std::string& content) {
    const std::size_t size = MetadataSize(content);
    if (size > m_geometry.metaSize - m_metaUsed) return false;
    char* record = m_front.Bytes(Geometry::MetaOffset() + m_metaUsed);
    const std::uint32_t length = static_cast<std::uint32_t>(content.size() + 1);
    for (unsigned i = 0; i < 4; ++i) record[i] = static_cast<char>(length >> (8 * i) & 0xFF);
    record[4] = static_cast<char>(kind);
    std::memcpy(record + kRecordHead, content.data(), content.size());
    m_metaUsed += size;
    Publish(Header() + kHeaderMetaUsed, m_metaUsed);
    return true;
}

QxMapping QxRecording::MapRing(std::size_t slot, std::string& error) const {
    const QxFd directoryFd = QxRuntimeDir::Open(m_directory, false, error);
    if (!directoryFd) {
        if (error.empty()) error = "runtime directory " + m_directory + " is gone";
        return {};
    }
    const QxFd file(::openat(directoryFd.Get(), m_fileName.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0) {
        error = Failure("file " + m_fileName);
        return {};
    }
    if (status.st_dev != m_device || status.st_ino != m_inode) {
        error = "recording file " + m_fileName + ": it was replaced";
        return {};
    }
    QxMapping ring(file.Get(), m_geometry.RingOffset(slot), m_geometry.AlignUp(m_geometry.RingSize()));
    if (!ring) error = Failure("file " + m_fileName);
    return ring;
}

}  // namespace qxhost
