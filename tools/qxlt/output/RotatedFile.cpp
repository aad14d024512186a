#include "RotatedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include "Failure.h"
#include "Messages.h"
#include "WriteAll.h"

namespace qxlt {

namespace {

// Whether the last byte of the file is no end of a line: power may have gone while one was written.
bool EndsWithinALine(int file, off_t size) {
    char last = '\n';
    return size > 0 && pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

std::uint64_t SizeOf(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

}  // namespace

RotatedFile::RotatedFile(std::string path, const Bounds& bounds)
    : m_path(std::move(path)), m_bounds(bounds), m_lost(m_path) {
    std::signal(SIGXFSZ, SIG_IGN);  // a file size limit is met as an error of the write
    if (!Open())
        throw Failure(kCannotStart, m_path + ": " + std::strerror(errno) + "; name a file that can be written");
}

// Not waiting, since nobody may read what turns out to be a pipe.
bool RotatedFile::Open() {
    m_file.emplace(open(m_path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644));
    if (!m_file->IsOpen()) return false;
    struct stat status = {};
    if (fstat(m_file->Get(), &status) != 0) return false;
    m_isDevice = S_ISCHR(status.st_mode);
    if (!m_isDevice && !S_ISREG(status.st_mode)) {
        m_file.emplace(-1);
        errno = EINVAL;
        return false;
    }
    m_isLineBegun = !m_isDevice && EndsWithinALine(m_file->Get(), status.st_size);
    return true;
}

// Whether the path still leads to the file that is open.
bool RotatedFile::IsInPlace() const {
    if (!m_file->IsOpen()) return false;
    if (m_isDevice) return true;
    struct stat open = {};
    struct stat there = {};
    return fstat(m_file->Get(), &open) == 0 && stat(m_path.c_str(), &there) == 0 && open.st_ino == there.st_ino &&
           open.st_dev == there.st_dev;
}

void RotatedFile::Write(const std::string& line, const LineFields& /*fields*/) {
    if (TryWrite(line)) return m_lost.Keep();
    m_lost.Lose(std::strerror(errno));
}

bool RotatedFile::TryWrite(const std::string& line) {
    if (!IsInPlace() && !Open()) return false;
    const std::string text = line + "\n";
    return MakeRoom(text.size()) && Append(text);
}

bool RotatedFile::MakeRoom(std::size_t size) {
    if (m_bounds.size == 0 || m_isDevice || !m_rotates) return true;
    const std::uint64_t held = SizeOf(m_file->Get());
    if (held == 0 || (held <= m_bounds.size && size <= m_bounds.size - held)) return true;
    Rotate();
    return !m_rotates || Open();
}

// The last file gives way to the one before it.
void RotatedFile::Rotate() {
    const auto kept = [this](unsigned number) { return m_path + "." + std::to_string(number); };
    for (unsigned number = m_bounds.kept; number > 1; --number) {
        std::rename(kept(number - 1).c_str(), kept(number).c_str());  // which may not be there yet
    }
    if (std::rename(m_path.c_str(), kept(1).c_str()) == 0) return;
    m_rotates = false;
    PrintWarning(kept(1) + ": " + std::strerror(errno) + "; " + m_path + " is not rotated any more, and grows");
}

bool RotatedFile::Append(const std::string& text) {
    const std::uint64_t before = SizeOf(m_file->Get());
    const std::string whole = m_isLineBegun ? "\n" + text : text;
    if (WriteAll(m_file->Get(), whole.data(), whole.size())) {
        m_isLineBegun = false;
        return true;
    }
    const int error = errno;
    if (!m_isDevice && ftruncate(m_file->Get(), static_cast<off_t>(before)) != 0) m_isLineBegun = true;
    errno = error;
    return false;
}

}  // namespace qxlt
