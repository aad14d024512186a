#include "QxLog.h"

#include <dlog.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "QxRecordingClock.h"
#include "QxSignalGuard.h"

namespace qxhost {

namespace {

char PriorityLetter(int priority) {
    if (priority == DLOG_DEBUG) return 'D';
    return priority == DLOG_INFO ? 'I' : 'E';
}

int SystemPriority(int priority) {
    if (priority == DLOG_DEBUG) return LOG_DEBUG;
    return priority == DLOG_INFO ? LOG_INFO : LOG_ERR;
}

// What vsnprintf reports is the length that the whole text would have had.
std::size_t Written(int result, std::size_t room) {
    if (result < 0) return 0;
    return std::min(static_cast<std::size_t>(result), room - 1);
}

// A control character from U+0080 to U+009F takes two bytes; U+009B begins what ESC [ begins.
bool IsLateControl(const char* text, std::size_t size) {
    if (size < 2 || text[0] != '\xC2') return false;
    const auto second = static_cast<unsigned char>(text[1]);
    return second >= 0x80 && second < 0xA0;
}

// Messages carry names that other processes chose: a line break in one would forge a line, an escape byte would reach
// the terminal.
std::size_t CleanLine(char* text, std::size_t size) {
    while (size > 0 && text[size - 1] == '\n') --size;
    for (char* c = text; c != text + size; ++c) {
        const unsigned char byte = static_cast<unsigned char>(*c);
        if (byte == '\n' || byte == '\t' || byte == '\r')
            *c = ' ';
        else if (byte < 0x20 || byte == 0x7F)
            *c = '?';
        else if (IsLateControl(c, static_cast<std::size_t>(text + size - c)))
            c[0] = c[1] = '?';
    }
    return size;
}

QxFd OpenFile(const std::string& path) {
    return QxFd(::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
}

int WriteWhole(int fd, const char* data, std::size_t size) {
    const QxSignalGuard guard(QxSignalGuard::kOfWriting);
    ssize_t written = -1;
    do {
        written = ::write(fd, data, size);
    } while (written < 0 && errno == EINTR);
    if (written < 0) guard.Take();
    return static_cast<int>(written);
}

std::uint32_t Second() {
    return static_cast<std::uint32_t>(NowNs() / 1000000000u);
}

void WriteLeftOut(char letter, std::uint32_t count) {
    if (count == 0) return;
    char line[100];
    const std::size_t size = Written(
        std::snprintf(line, sizeof line, "%c QXLT: ... and %u more; 2>FILE keeps all\n", letter, count), sizeof line);
    WriteWhole(STDERR_FILENO, line, size);
}

}  // namespace

QxLog::QxLog(const std::string& target) {
    if (target == "syslog") {
        m_kind = Kind::System;
    } else if (target == "none") {
        m_kind = Kind::None;
    } else if (!target.empty() && target[0] == '/') {
        m_path = target;
        m_file = OpenFile(m_path);
        struct stat status {};
        if (m_file && ::fstat(m_file.Get(), &status) == 0) {
            m_device = status.st_dev;
            m_inode = status.st_ino;
        }
    }
    m_isBounded = m_kind == Kind::Descriptor && !m_file && ::isatty(STDERR_FILENO) != 0;
}

QxLog QxLog::FromEnvironment() {
    const char* target = std::getenv("QX_LOG");
    return QxLog(target != nullptr ? target : "stderr");
}

int QxLog::Print(int priority, const char* tag, const char* format, std::va_list arguments) {
    if (m_kind == Kind::None || !Admits(priority)) return 0;
    char line[kLineSize + 1];
    std::size_t size = Written(std::snprintf(line, kLineSize, "%c %s: ", PriorityLetter(priority), tag), kLineSize);
    size += Written(std::vsnprintf(line + size, kLineSize - size, format, arguments), kLineSize - size);
    size = CleanLine(line, size);
    if (m_kind == Kind::System) {
        ::syslog(SystemPriority(priority), "%.*s", static_cast<int>(size), line);
        return static_cast<int>(size);
    }
    line[size] = '\n';
    return m_file ? WriteToFile(line, size + 1) : WriteWhole(STDERR_FILENO, line, size + 1);
}

bool QxLog::Admits(int priority) {
    if (!m_isBounded) return true;
    Bound& bound = PriorityLetter(priority) == m_errors.letter ? m_errors : m_others;
    std::uint32_t leftOut = 0;
    const bool isShown = bound.lines.Takes(Second(), leftOut);
    WriteLeftOut(bound.letter, leftOut);
    return isShown;
}

void QxLog::TellLeftOut() {
    for (Bound* const bound : {&m_errors, &m_others}) WriteLeftOut(bound->letter, bound->lines.TakeLeftOut());
}

// The descriptor may be another file's by now. It is not replaced: other threads use it, without a lock.
int QxLog::WriteToFile(const char* line, std::size_t size) const {
    struct stat status {};
    if (::fstat(m_file.Get(), &status) == 0 && status.st_dev == m_device && status.st_ino == m_inode) {
        return WriteWhole(m_file.Get(), line, size);
    }
    const QxFd file = OpenFile(m_path);
    return file ? WriteWhole(file.Get(), line, size) : -1;
}

}  // namespace qxhost
