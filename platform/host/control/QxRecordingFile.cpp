#include "QxRecordingFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "QxBytes.h"
#include "QxSignalGuard.h"

namespace qxhost {

using namespace qxlayout;

namespace {

// So often in a row a value is only caught in the middle of a store where somebody makes a game of it.
constexpr int kMaxAttempts = 10000;

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

// A copy may catch a value in the middle of a store, so it counts when it agrees with its second store. A writer that
// was killed or stopped between the two leaves them different; then the value stands still, and a copy that is like the
// one before was not caught in a store either. The first store is valid by itself.
template <std::size_t Count>
std::array<std::uint64_t, Count> QxRecordingFile::ReadSettled(std::uint64_t offset,
                                                              std::initializer_list<std::size_t> pairs) const {
    std::array<std::uint64_t, Count> words{};
    std::array<std::uint64_t, Count> before{};
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        Read(offset, words.data(), sizeof(words));
        bool isSettled = true;
        for (const std::size_t pair : pairs) {
            const bool isStill = attempt > 0 && words[pair] == before[pair] && words[pair + 1] == before[pair + 1];
            isSettled = isSettled && (words[pair] == words[pair + 1] || isStill);
        }
        if (isSettled) return words;
        before = words;
    }
    throw QxDamage("a position does not settle");
}

std::size_t QxRecordingFile::ReadMetaUsed() const {
    const auto used = ReadSettled<2>(kHeaderMetaUsed * sizeof(Word), {0});
    if (used[0] > m_geometry.metaSize) throw QxDamage("its metadata has no valid size");
    return static_cast<std::size_t>(used[0]);
}

std::string QxRecordingFile::ReadMeta(std::size_t offset, std::size_t size) const {
    std::string bytes(size, '\0');
    if (size != 0) Read(Geometry::MetaOffset() + offset, &bytes[0], size);
    return bytes;
}

QxRecordingFile::Slot QxRecordingFile::ReadSlot(std::size_t slot) const {
    return ReadSettled<kSlotWords>(Geometry::SlotOffset(slot), {kSlotCommitted, kSlotOpened});
}

void QxRecordingFile::ReadPages(std::size_t slot, std::uint64_t firstPage, std::size_t count,
                                std::uint64_t* out) const {
    const std::size_t place = static_cast<std::size_t>(firstPage % m_geometry.pageCount);
    const std::size_t untilEnd = std::min(count, m_geometry.pageCount - place);
    const std::uint64_t ring = m_geometry.RingOffset(slot);
    Read(ring + place * m_geometry.pageSize, out, untilEnd * m_geometry.pageSize);
    if (untilEnd == count) return;
    Read(ring, out + untilEnd * m_geometry.PageWords(), (count - untilEnd) * m_geometry.pageSize);
}

void QxRecordingFile::WriteConsumed(std::size_t slot, std::uint64_t position) const {
    const std::array<std::uint64_t, 2> consumed{position, ~position};
    const std::uint64_t offset = Geometry::SlotOffset(slot) + kSlotConsumed * sizeof(Word);
    const QxSignalGuard guard(QxSignalGuard::kOfWriting);
    if (::pwrite(m_fd.Get(), consumed.data(), sizeof(consumed), static_cast<off_t>(offset)) < 0) guard.Take();
}

}  // namespace qxhost
