#include "QxDumpWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "QxFd.h"
#include "QxProcessInfo.h"
#include "QxSignalGuard.h"

namespace qxhost {

namespace {

bool WriteAll(int fd, const std::string& data) {
    const QxSignalGuard guard(QxSignalGuard::kOfWriting);
    for (std::size_t done = 0; done < data.size();) {
        const ssize_t part = ::write(fd, data.data() + done, data.size() - done);
        if (part < 0 && errno == EINTR) continue;
        if (part < 0) guard.Take();
        if (part <= 0) return false;
        done += static_cast<std::size_t>(part);
    }
    return true;
}

}  // namespace

QxDumpWriter::QxDumpWriter(int directoryFd, const std::string& process)
    : m_directoryFd(directoryFd),
      m_name{process, ::getpid(), QxProcessInfo::StartTime(::getpid()), QxFileName::kDump},
      m_fileName(m_name.ToString()) {}

bool QxDumpWriter::Write(const std::string& dump) {
    m_name.suffix = QxFileName::kNewDump;
    const std::string newName = m_name.ToString();
    if (WriteNew(newName, dump) && ::renameat(m_directoryFd, newName.c_str(), m_directoryFd, m_fileName.c_str()) == 0) {
        return true;
    }
    m_error = std::strerror(errno);
    ::unlinkat(m_directoryFd, newName.c_str(), 0);
    return false;
}

bool QxDumpWriter::WriteNew(const std::string& newName, const std::string& dump) {
    ::unlinkat(m_directoryFd, newName.c_str(), 0);
    const QxFd file(
        ::openat(m_directoryFd, newName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file && WriteAll(file.Get(), dump);
}

}  // namespace qxhost
