#include "Common.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "QxDebugPrint.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kReadSize = 65536;

class Descriptor final {
public:
    explicit Descriptor(const std::string& path) : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (m_fd >= 0) close(m_fd);
    }
    int Get() const { return m_fd; }

private:
    const int m_fd;
};

[[noreturn]] void Unreadable(const std::string& path, const std::string& why) {
    throw Failure(kCannotStart, path + ": " + why + "; name a file that can be read");
}

// What a progress line may have left on the terminal is wiped away first. The text may hold names of any bytes, out of
// captures and scripts.
void PrintLine(const std::string& text) {
    static const bool terminal = isatty(STDERR_FILENO) != 0;
    const std::string line = (terminal ? kWipeLine : "") + Printable(text) + "\n";
    // Nowhere is left to tell that this failed.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

void PrintError(const std::string& text) {
    PrintLine("error: " + text);
}

void PrintWarning(const std::string& text) {
    PrintLine("warning: " + text);
}

void PrintNote(const std::string& text) {
    PrintLine(text);
}

std::string Place(const std::string& file, std::size_t number) {
    return file + ":" + std::to_string(number);
}

std::string Place(const std::string& file, std::size_t line, std::size_t column) {
    return Place(Place(file, line), column);
}

// Some lines of the library pass whatever the level: silence is the log's matter.
void SetLevel(EDebugLevel level) {
    setenv("QX_LOG", level == Silent ? "none" : "stderr", 0);
    QxDebugPrint::GetInstance()->SetLevel(level);
}

std::string ReadFile(const std::string& path, std::size_t most) {
    const Descriptor file(path);
    if (file.Get() < 0) Unreadable(path, std::strerror(errno));
    std::string content;
    for (;;) {
        const std::size_t filled = content.size();
        content.resize(filled + kReadSize);
        const ssize_t count = read(file.Get(), &content[filled], kReadSize);
        if (count < 0 && errno != EINTR) Unreadable(path, std::strerror(errno));
        content.resize(filled + static_cast<std::size_t>(count < 0 ? 0 : count));
        if (count == 0) return content;
        if (content.size() > most) Unreadable(path, "larger than " + Counted(most, "byte"));
    }
}

}  // namespace qxlt
