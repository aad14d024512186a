#include "ChildLines.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Descriptor.h"
#include "Failure.h"

namespace qxlt {

namespace {

constexpr std::size_t kReadSize = 64 << 10;
constexpr std::size_t kMostError = 4096;
constexpr int kCouldNotRun = 127;  // a child's status, by POSIX, where the spawning itself could not tell

[[noreturn]] void CannotRun(const std::string& program, int error, const std::string& advice) {
    throw Failure(kCannotStart, program + ": " + std::strerror(error) + "; " + advice);
}

// What the child gets in place of this program's own streams.
class Streams final {
public:
    Streams(int output, int error) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, error, STDERR_FILENO);
    }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;
    ~Streams() { posix_spawn_file_actions_destroy(&m_actions); }

    const posix_spawn_file_actions_t* Actions() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions;
};

pid_t Start(const std::vector<std::string>& command, const std::string& advice, const Streams& streams) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    pid_t child = -1;
    const int error = posix_spawnp(&child, arguments.front(), streams.Actions(), nullptr, arguments.data(), environ);
    if (error != 0) CannotRun(command.front(), error, advice);
    return child;
}

// Waits for the child at its owner's end, whatever happens before.
class Waited final {
public:
    explicit Waited(pid_t child) : m_child(child) {}
    Waited(const Waited&) = delete;
    Waited& operator=(const Waited&) = delete;
    ~Waited() { Wait(); }

    int Wait() {
        while (m_child > 0 && waitpid(m_child, &m_status, 0) < 0 && errno == EINTR) continue;
        m_child = -1;
        return m_status;
    }

private:
    pid_t m_child;
    int m_status = 0;
};

// Hands on the whole lines of the text, and removes them from it.
void TakeLines(std::string& text, std::size_t mostLine, const std::function<void(std::string_view)>& sink) {
    std::size_t begin = 0;
    for (;;) {
        std::size_t end = text.find('\n', begin);
        const bool isWhole = end != std::string::npos;
        if (!isWhole && text.size() - begin <= mostLine) break;
        if (!isWhole || end - begin > mostLine) end = begin + mostLine;
        sink(std::string_view(text).substr(begin, end - begin));
        begin = end + (text[end] == '\n' ? 1 : 0);
    }
    text.erase(0, begin);
}

void ReadLines(int fd, std::size_t mostLine, const std::function<void(std::string_view)>& sink) {
    std::string text;
    std::vector<char> part(kReadSize);
    for (;;) {
        const ssize_t count = read(fd, part.data(), part.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        text.append(part.data(), static_cast<std::size_t>(count));
        TakeLines(text, mostLine, sink);
    }
    if (!text.empty()) sink(text);
}

std::string LastLine(int fd) {
    std::string text(kMostError, '\0');
    const off_t size = lseek(fd, 0, SEEK_END);
    const off_t from = size > static_cast<off_t>(kMostError) ? size - static_cast<off_t>(kMostError) : 0;
    const ssize_t count = pread(fd, text.data(), text.size(), from);
    text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    text.erase(text.find_last_not_of(" \n") + 1);
    return text.substr(text.rfind('\n') + 1);
}

ChildEnd EndOf(int status, int errors) {
    ChildEnd end;
    end.isGood = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    end.error = LastLine(errors);
    if (end.isGood || !end.error.empty()) return end;
    end.error = WIFSIGNALED(status) ? "ended by signal " + std::to_string(WTERMSIG(status))
                                    : "ended with status " + std::to_string(WEXITSTATUS(status));
    return end;
}

}  // namespace

ChildEnd ReadChildLines(const std::vector<std::string>& command, const std::string& advice, std::size_t mostLine,
                        const std::function<void(std::string_view)>& sink) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) CannotRun(command.front(), errno, advice);
    Descriptor output(ends[0]);
    Descriptor input(ends[1]);
    const Descriptor errors(memfd_create("errors", MFD_CLOEXEC));
    if (!errors.IsOpen()) CannotRun(command.front(), errno, advice);
    Waited child(Start(command, advice, Streams(input.Get(), errors.Get())));
    input.Close();
    // Closed ahead of the waiting, so that a child that is no longer read ends.
    struct Closing {
        Descriptor& output;
        ~Closing() { output.Close(); }
    } const closing{output};
    ReadLines(output.Get(), mostLine, sink);
    const int status = child.Wait();
    if (WIFEXITED(status) && WEXITSTATUS(status) == kCouldNotRun) CannotRun(command.front(), ENOENT, advice);
    return EndOf(status, errors.Get());
}

}  // namespace qxlt
