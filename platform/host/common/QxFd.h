// Owner of one file descriptor above the standard ones: in a process without standard error, what is printed there must
// not end up in a file of ours.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace qxhost {

class QxFd {
public:
    QxFd() = default;
    // Takes over a descriptor that was just opened, or a negative number and errno as they are.
    explicit QxFd(int fd) : m_fd(AboveStandard(fd)) {}
    QxFd(QxFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    QxFd& operator=(QxFd&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    QxFd(const QxFd&) = delete;
    QxFd& operator=(const QxFd&) = delete;
    ~QxFd() {
        if (m_fd >= 0) ::close(m_fd);
    }

    // The descriptor, negative when there is none. Stays owned by this object.
    int Get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    // Gives the descriptor to the caller.
    int Release() { return std::exchange(m_fd, -1); }

private:
    static int AboveStandard(int fd) {
        if (fd < 0 || fd > STDERR_FILENO) return fd;
        const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        const int error = errno;
        ::close(fd);
        errno = error;
        return moved;
    }

    int m_fd = -1;
};

}  // namespace qxhost
