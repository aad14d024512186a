// The log of the host platform: takes messages of any thread and writes each of them as one line to standard error, the
// system log or a file, or drops them.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

#include "QxFd.h"

namespace qxhost {

class QxLog {
public:
    // `target` is "stderr", "syslog", "none" or the path of a file that is appended to (created 0600, never through a
    // symbolic link). Anything else, and a file that cannot be opened, means standard error.
    explicit QxLog(const std::string& target);

    // The log that the environment variable QX_LOG chooses; without it, standard error.
    static QxLog FromEnvironment();

    // Writes "P TAG: text" in a single write, where P is D, I or E for the priorities debug, info and all others. Bytes
    // that would break the line or steer a terminal are replaced; text beyond kLineSize is cut. Any thread may call it;
    // it allocates nothing. Returns the number of bytes written, 0 when the log is off, or a negative value.
    int Print(int priority, const char* tag, const char* format, std::va_list arguments)
        __attribute__((format(printf, 4, 0)));

    static constexpr std::size_t kLineSize = 4096;

private:
    enum class Kind { Descriptor, System, None };

    Kind m_kind = Kind::Descriptor;
    QxFd m_file;  // empty: standard error
};

}  // namespace qxhost
