// The one owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace qxlt {

class Descriptor final {
public:
    // Takes what a system call gave; below 0: there is none.
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Close(); }

    bool IsOpen() const { return m_fd >= 0; }
    int Get() const { return m_fd; }

    // Closes it before the owner's end. Returns whether that went well, which for a file that was written means that
    // its bytes did not fail to arrive; errno tells why not.
    bool Close() { return m_fd < 0 || close(std::exchange(m_fd, -1)) == 0; }

private:
    int m_fd;
};

}  // namespace qxlt
