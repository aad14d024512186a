#include "ReadFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Descriptor.h"
#include "Failure.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kReadSize = 65536;

// Appends up to one more piece than `most` bytes take. Returns why it stopped before the end; empty: it did not.
template <typename Content>
std::string ReadInto(Content& content, const std::string& path, std::size_t most) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) return std::strerror(errno);
    for (;;) {
        const std::size_t filled = content.size();
        content.resize(filled + kReadSize);
        const ssize_t count = read(file.Get(), &content[filled], kReadSize);
        const int error = errno;
        content.resize(filled + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0) return std::string();
        if (count == -1 && error != EINTR) return std::strerror(error);
        if (content.size() > most) return "larger than " + Counted(most, "byte");
    }
}

template <typename Content>
Content Read(const std::string& path, std::size_t most) {
    Content content;
    const std::string problem = ReadInto(content, path, most);
    if (!problem.empty()) throw Failure(kCannotStart, path + ": " + problem + "; name a file that can be read");
    return content;
}

}  // namespace

std::string ReadFile(const std::string& path, std::size_t most) {
    return Read<std::string>(path, most);
}

std::vector<char> ReadBytes(const std::string& path) {
    return Read<std::vector<char>>(path, kMaxFileSize);
}

std::string ReadFileIfThere(const std::string& path) {
    std::string content;
    return ReadInto(content, path, kMaxFileSize).empty() ? content : std::string();
}

}  // namespace qxlt
