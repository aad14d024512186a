// The log of the host platform: takes messages of any thread and writes each of them as one line to standard error, the
// system log or a file, or drops them.
#pragma once

#include <sys/types.h>

#include <cstdarg>
#include <cstddef>
#include <string>

#include "QxFd.h"
#include "QxLineBound.h"

namespace qxhost {

class QxLog {
public:
    // `target` is "stderr", "syslog", "none" or the path of a file that is appended to (created 0600, never through a
    // symbolic link). Anything else, and a file that cannot be opened, means standard error. A program may close all
    // its descriptors: the file is opened anew for each line then.
    explicit QxLog(const std::string& target);

    // The log that the environment variable QX_LOG chooses; without it, standard error.
    static QxLog FromEnvironment();

    // Writes "P TAG: text" in a single write, where P is D, I or E for the priorities debug, info and all others. Bytes
    // that would break the line or steer a terminal are replaced; text beyond kLineSize is cut. Any thread may call it;
    // it allocates nothing. Returns the number of bytes written, 0 when the log is off, or a negative value.
    //
    // A terminal gets QxLineBound::kMost lines a second of errors, and as many of all else; then a line says how many
    // were left out. Files and pipes get all.
    int Print(int priority, const char* tag, const char* format, std::va_list arguments)
        __attribute__((format(printf, 4, 0)));

    // Says what a terminal did not get and was not told of yet: at the program's end.
    void TellLeftOut();

    // Whether there can be anything to tell.
    bool IsBounded() const { return m_isBounded; }

    static constexpr std::size_t kLineSize = 4096;

private:
    enum class Kind { Descriptor, System, None };

    // One for errors, which much else shall not hide.
    struct Bound {
        const char letter;
        QxLineBound lines = {};
    };

    bool Admits(int priority);
    int WriteToFile(const char* line, std::size_t size) const;

    Kind m_kind = Kind::Descriptor;
    bool m_isBounded = false;  // it is a terminal
    Bound m_errors{'E'};
    Bound m_others{'I'};
    std::string m_path;
    QxFd m_file;         // empty: standard error
    dev_t m_device = 0;  // the file's identity
    ino_t m_inode = 0;
};

}  // namespace qxhost
