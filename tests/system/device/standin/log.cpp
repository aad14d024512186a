// The stand-in device's log: lines go to the file that STANDIN_LOG names.
#include <dlog.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// One write for a line, so that lines of two threads do not mix.
int Append(const char* path, const std::string& line) {
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0) return -1;
    const ssize_t written = write(file, line.data(), line.size());
    close(file);
    return static_cast<int>(written);
}

}  // namespace

extern "C" int __dlog_print(log_id_t, int prio, const char* tag, const char* fmt, ...) {
    const char* const path = std::getenv("STANDIN_LOG");
    if (path == nullptr) return -1;
    std::va_list arguments;
    va_start(arguments, fmt);
    char* text = nullptr;
    const int size = vasprintf(&text, fmt, arguments);
    va_end(arguments);
    if (size < 0) return -1;
    const std::string line = std::to_string(prio) + "/" + tag + ": " + text + "\n";
    std::free(text);
    return Append(path, line);
}
