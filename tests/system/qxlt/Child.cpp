#include "Child.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <sstream>
#include <stdexcept>

#include "LineSchema.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(60);

struct Ends {
    int read = -1;
    int write = -1;
};

Ends MakePipe() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    return {fds[0], fds[1]};
}

Ends MakeTerminal(unsigned short columns) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) throw std::runtime_error("terminal");
    const winsize size = {24, columns, 0, 0};
    if (ioctl(master, TIOCSWINSZ, &size) != 0) throw std::runtime_error("terminal");
    return {master, open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC)};
}

Ends MakeFile(const std::string& path) {
    return {-1, open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)};
}

Ends MakeOutput(const Child::Setup& setup) {
    if (setup.terminal) return MakeTerminal(setup.columns);
    return setup.output.empty() ? MakePipe() : MakeFile(setup.output);
}

// Waits until the other process has closed its end as well, which running its program does.
void WaitForEnd(const Ends& pipe) {
    close(pipe.write);
    char byte = 0;
    while (read(pipe.read, &byte, 1) < 0 && errno == EINTR) {
    }
    close(pipe.read);
}

[[noreturn]] void Execute(const Child::Setup& setup, int output, int error) {
    if (setup.impatient && (fcntl(output, F_SETPIPE_SZ, 4096) < 0 || fcntl(output, F_SETFL, O_NONBLOCK) != 0))
        _exit(127);
    if (setup.keyboard) dup2(output, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(error, STDERR_FILENO);
    for (const auto& [name, value] : setup.environment) setenv(name.c_str(), value.c_str(), 1);
    if (!setup.directory.empty() && chdir(setup.directory.c_str()) != 0) _exit(127);
    std::vector<char*> arguments;
    for (const std::string& argument : setup.command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execv(arguments.front(), arguments.data());
    _exit(127);
}

}  // namespace

Child::Child(const Setup& setup)
    : m_printsJson(setup.command.front() == QXLT_PROGRAM && !setup.terminal &&
                   std::find(setup.command.begin(), setup.command.end(), "json") != setup.command.end()) {
    const Ends output = MakeOutput(setup);
    const Ends error = setup.terminal ? Ends{-1, dup(output.write)} : MakePipe();
    const Ends started = MakePipe();
    m_pid = fork();
    if (m_pid < 0) throw std::runtime_error("fork");
    if (m_pid == 0) Execute(setup, output.write, error.write);
    WaitForEnd(started);
    close(output.write);
    close(error.write);
    m_output.fd = output.read;
    m_error.fd = error.read;
}

Child::~Child() {
    if (!m_ended) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    m_output.Close();
    m_error.Close();
}

// Returns false at the end. A terminal without a writer reads as an error.
bool Child::Stream::Read() {
    char bytes[4096];
    const ssize_t count = read(fd, bytes, sizeof bytes);
    if (count < 0 && errno == EINTR) return true;
    if (count <= 0) return false;
    text.append(bytes, static_cast<std::size_t>(count));
    return true;
}

void Child::Stream::Close() {
    if (fd >= 0) close(fd);
    fd = -1;
}

// Reads what has come, waiting for it. False when both streams have ended or nothing came for a minute.
bool Child::Pump() {
    pollfd sources[] = {{m_output.fd, POLLIN, 0}, {m_error.fd, POLLIN, 0}};
    if (m_output.fd < 0 && m_error.fd < 0) return false;
    const auto patience = std::chrono::duration_cast<std::chrono::milliseconds>(kPatience).count();
    const int ready = poll(sources, 2, static_cast<int>(patience));
    if (ready < 0) return errno == EINTR;
    if (sources[0].revents != 0 && !m_output.Read()) m_output.Close();
    if (sources[1].revents != 0 && !m_error.Read()) m_error.Close();
    return ready > 0;
}

bool Child::WaitFor(const Stream& stream, const std::string& text) {
    const Clock::time_point limit = Clock::now() + kPatience;
    std::size_t searched = 0;
    while (stream.text.find(text, searched) == std::string::npos) {
        searched = stream.text.size() - std::min(stream.text.size(), text.size());
        if (Clock::now() > limit || !Pump()) return false;
    }
    return true;
}

bool Child::WaitForOutput(const std::string& text) {
    return WaitFor(m_output, text);
}

bool Child::WaitForError(const std::string& text) {
    return WaitFor(m_error, text);
}

void Child::Signal(int number) {
    kill(m_pid, number);
}

void Child::Type(const std::string& keys) const {
    if (write(m_output.fd, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("terminal");
    }
}

void Child::Resize(unsigned short columns, unsigned short lines) const {
    const winsize size = {lines, columns, 0, 0};
    if (ioctl(m_output.fd, TIOCSWINSZ, &size) != 0) throw std::runtime_error("terminal");
}

bool Child::IsTerminalPlain() const {
    termios settings = {};
    if (tcgetattr(m_output.fd, &settings) != 0) throw std::runtime_error("terminal");
    return (settings.c_lflag & ECHO) != 0 && (settings.c_lflag & ICANON) != 0;
}

void Child::CloseOutput() {
    m_output.Close();
}

int Child::Finish() {
    const Clock::time_point limit = Clock::now() + kPatience;
    while (Clock::now() < limit && Pump()) {
    }
    if (m_output.fd >= 0 || m_error.fd >= 0) kill(m_pid, SIGKILL);
    rusage usage = {};
    while (wait4(m_pid, &m_status, 0, &usage) < 0 && errno == EINTR) {
    }
    m_ended = true;
    m_largestSize = usage.ru_maxrss;
    if (m_printsJson) ExpectLinesOfSchema(m_output.text);
    return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : 128 + WTERMSIG(m_status);
}

Child::Setup ToolSetup(const std::vector<std::string>& arguments, Child::Setup setup) {
    setup.command = {QXLT_PROGRAM};
    setup.command.insert(setup.command.end(), arguments.begin(), arguments.end());
    return setup;
}

ToolResult RunTool(const std::vector<std::string>& arguments, Child::Setup setup) {
    Child tool(ToolSetup(arguments, std::move(setup)));
    const int status = tool.Finish();
    return {status, tool.Output(), tool.Error(), tool.LargestSize()};
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}
