// Owner of one file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace qxhost {

class QxFd {
public:
    QxFd() = default;
    explicit QxFd(int fd) : m_fd(fd) {}
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

private:
    int m_fd = -1;
};

}  // namespace qxhost
