#include "QxDumpFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"

namespace {

class Descriptor final {
public:
    // Not blocking: opening a named pipe would otherwise wait for a writer.
    explicit Descriptor(const std::string& path) : m_fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (m_fd >= 0) close(m_fd);
    }
    int Get() const { return m_fd; }

private:
    const int m_fd;
};

std::vector<char> Refuse(const std::string& path, const char* why) {
    QxDebugPrint::GetInstance()->Print("Read", __LINE__, Major, "[QxDumpFile::Read] %s, path: %s", why, path.c_str());
    return {};
}

// Reads until the size or the end of the file, which may have been cut meanwhile.
std::vector<char> ReadAll(int fd, std::size_t size) {
    std::vector<char> bytes(size);
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = read(fd, bytes.data() + filled, size - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return bytes;
}

}  // namespace

std::vector<char> QxDumpFile::Read(const std::string& path) {
    const Descriptor file(path);
    if (file.Get() < 0) return {};
    struct stat status = {};
    if (fstat(file.Get(), &status) != 0) return Refuse(path, "The file's size cannot be taken");
    if (!S_ISREG(status.st_mode)) return Refuse(path, "Not a regular file");
    if (status.st_size > INT_MAX) return Refuse(path, "The file is too large for a dump");
    return ReadAll(file.Get(), static_cast<std::size_t>(status.st_size));
}
