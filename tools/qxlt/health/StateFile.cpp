#include "StateFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include "Descriptor.h"
#include "WriteAll.h"

namespace qxlt {

namespace {

constexpr mode_t kReadable = 0644;

}  // namespace

// Two runs that were given the same file by mistake do not write the same bytes.
StateFile::StateFile(std::string path)
    : m_path(std::move(path)), m_next(m_path + "." + std::to_string(getpid()) + ".tmp") {
    std::signal(SIGXFSZ, SIG_IGN);  // a file size limit is met as an error of the write
}

// One that a killed run of the same id left behind, or a link that somebody put there, is in nobody's way.
std::string StateFile::Write(std::string_view content) const {
    if (!IsAny()) return {};
    unlink(m_next.c_str());
    const Descriptor file(open(m_next.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kReadable));
    const bool isWritten = file.Get() >= 0 && fchmod(file.Get(), kReadable) == 0 &&
                           WriteAll(file.Get(), content.data(), content.size()) &&
                           std::rename(m_next.c_str(), m_path.c_str()) == 0;
    if (isWritten) return {};
    std::string reason = std::strerror(errno);
    if (file.Get() >= 0) unlink(m_next.c_str());
    return reason;
}

}  // namespace qxlt
