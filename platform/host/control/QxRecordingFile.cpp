#include "QxRecordingFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "QxBytes.h"
#include "QxSettled.h"
#include "QxSignalGuard.h"

namespace qxhost {

using namespace qxlayout;

namespace {

// FIFOs must not block.
constexpr int kOpenFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// Whether it says nothing about the file, but that the client has not enough of something, or that the file is gone.
bool IsPassing(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EINTR || error == EIO || error == ENOENT;
}

}  // namespace

QxRecordingFile::QxRecordingFile(int directoryFd, const std::string& fileName, const QxFileName& name)
    : m_name(name), m_fd(::openat(directoryFd, fileName.c_str(), O_RDWR | O_NOFOLLOW | kOpenFlags)) {
    // On a read-only file system it can still be read.
    if (!m_fd && errno == EROFS)
        m_fd = QxFd(::openat(directoryFd, fileName.c_str(), O_RDONLY | O_NOFOLLOW | kOpenFlags));
    struct stat status {};
    ReadStatus(status);
    if (status.st_uid != ::geteuid()) throw QxDamage("it belongs to another user");
    if ((status.st_mode & 077) != 0) throw QxDamage("group or others may open it");
    ReadHeader();
}

QxRecordingFile::QxRecordingFile(const std::string& path) : m_fd(::open(path.c_str(), O_RDONLY | kOpenFlags)) {
    struct stat status {};
    ReadStatus(status);
    const auto header = ReadHeader();
    std::array<char, 2 * sizeof(Word)> name{};
    std::memcpy(name.data(), &header[kHeaderName], name.size());
    const std::size_t nameSize =
        static_cast<std::size_t>(std::min<std::uint64_t>(header[kHeaderNameSize], name.size()));
    m_name = {std::string(name.data(), nameSize), static_cast<pid_t>(header[kHeaderPid] & 0x7FFFFFFF),
              header[kHeaderStartTime], QxFileName::kRecording};
}

void QxRecordingFile::ReadStatus(struct stat& status) {
    if (!m_fd || ::fstat(m_fd.Get(), &status) != 0) {
        if (IsPassing(errno)) throw QxOpenFailure{errno};
        throw QxDamage(errno == ELOOP ? "it is a symbolic link" : std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) throw QxDamage("it is no regular file");
    m_id = IdOf(status);
}

std::array<std::uint64_t, kHeaderWords> QxRecordingFile::ReadHeader() {
    std::array<std::uint64_t, kHeaderWords> header{};
    Read(0, header.data(), sizeof(header));
    if (header[kHeaderMagic] != kMagic) {
        const bool isOtherVersion = (header[kHeaderMagic] & ~kMagicVersionMask) == kMagicOfAnyVersion;
        throw QxDamage(isOtherVersion ? "a recorder of another version wrote it" : "its header is none");
    }
    m_geometry = {static_cast<std::size_t>(header[kHeaderPageSize]), static_cast<std::size_t>(header[kHeaderPageCount]),
                  static_cast<std::size_t>(header[kHeaderMetaSize])};
    const bool fits = header[kHeaderPageSize] <= Geometry::kMaxPageSize &&
                      header[kHeaderPageCount] <= Geometry::kMaxRingSize &&
                      header[kHeaderMetaSize] <= Geometry::kMaxMetaSize;
    if (!fits || !m_geometry.IsValid()) throw QxDamage("its header gives sizes out of range");
    return header;
}

bool QxRecordingFile::HasName() const {
    struct stat status {};
    return ::fstat(m_fd.Get(), &status) == 0 && status.st_nlink > 0;
}

void QxRecordingFile::Read(std::uint64_t offset, void* out, std::size_t size) const {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t part =
            ::pread(m_fd.Get(), static_cast<char*>(out) + done, size - done, static_cast<off_t>(offset + done));
        if (part < 0 && errno == EINTR) continue;
        if (part <= 0) throw QxDamage("the file is cut short");
        done += static_cast<std::size_t>(part);
    }
    // What is read next is at least as new as this.
    Fence();
}

std::uint64_t QxRecordingFile::ReadRefused() const {
    std::uint64_t refused = 0;
    Read(kHeaderRefused * sizeof(Word), &refused, sizeof(refused));
    return refused;
}

std::size_t QxRecordingFile::ReadMetaUsed() const {
    const auto used = ReadSettled<2>(*this, kHeaderMetaUsed * sizeof(Word), {0});
    if (used[0] > m_geometry.metaSize) throw QxDamage("its metadata has no valid size");
    return static_cast<std::size_t>(used[0]);
}

std::string QxRecordingFile::ReadMeta(std::size_t offset, std::size_t size) const {
    std::string bytes(size, '\0');
    if (size != 0) Read(Geometry::MetaOffset() + offset, &bytes[0], size);
    return bytes;
}

void QxRecordingFile::WriteConsumed(std::size_t slot, std::uint64_t position) const {
    const std::array<std::uint64_t, 2> consumed{position, ~position};
    const std::uint64_t offset = Geometry::SlotOffset(slot) + kSlotConsumed * sizeof(Word);
    const QxSignalGuard guard(QxSignalGuard::kOfWriting);
    if (::pwrite(m_fd.Get(), consumed.data(), sizeof(consumed), static_cast<off_t>(offset)) < 0) guard.Take();
}

}  // namespace qxhost
