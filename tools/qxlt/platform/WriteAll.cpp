#include "WriteAll.h"

#include <unistd.h>

#include <cerrno>

namespace qxlt {

bool WriteAll(int file, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = write(file, bytes, size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace qxlt
