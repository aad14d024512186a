#include "QxMapping.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <cerrno>
#include <utility>

#include "QxSignalGuard.h"

namespace qxhost {

QxMapping::QxMapping(int fd, std::uint64_t offset, std::size_t size) : m_size(size) {
    const off_t start = static_cast<off_t>(offset);
    const QxSignalGuard guard(QxSignalGuard::kOfWriting);
    int error = 0;
    do {
        error = ::posix_fallocate(fd, start, static_cast<off_t>(size));
    } while (error == EINTR);
    if (error != 0) {
        guard.Take();
        errno = error;
        return;
    }
    void* data = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, start);
    if (data != MAP_FAILED) m_data = data;
}

QxMapping::QxMapping(QxMapping&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0)) {}

QxMapping& QxMapping::operator=(QxMapping&& other) noexcept {
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
    return *this;
}

QxMapping::~QxMapping() {
    if (m_data != nullptr) ::munmap(m_data, m_size);
}

qxlayout::SharedWord* QxMapping::Words(std::size_t offset) const {
    return reinterpret_cast<qxlayout::SharedWord*>(Bytes(offset));
}

}  // namespace qxhost
