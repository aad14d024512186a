#include "ServerProcess.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(30);

// A server that is to come, or to go, tells nobody: it is asked again after this.
void LetTimePass() {
    poll(nullptr, 0, 10);
}

[[noreturn]] void Execute(const std::vector<std::string>& command, int output) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setpgid(0, 0);  // an interrupt at the terminal is for the test, which ends it in its turn
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execv(arguments.front(), arguments.data());
    _exit(127);
}

sockaddr_in Loopback(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

bool IsFree(std::uint16_t port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int reuse = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    const sockaddr_in address = Loopback(port);
    const bool free = bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(socket);
    return free;
}

// Tests that run at the same time begin far from each other.
std::uint16_t NextPort() {
    constexpr unsigned kFirst = 12000;
    constexpr unsigned kCount = 20000;
    static unsigned next = static_cast<unsigned>(getpid()) * 64 % kCount;
    return static_cast<std::uint16_t>(kFirst + next++ % kCount);
}

std::string ReadAll(int fd) {
    std::string text;
    char bytes[4096];
    for (ssize_t count = 0; (count = read(fd, bytes, sizeof bytes)) > 0;) {
        text.append(bytes, static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

ServerProcess::ServerProcess(std::vector<std::string> command, std::string log)
    : m_command(std::move(command)), m_log(std::move(log)) {}

ServerProcess::~ServerProcess() {
    End(SIGKILL);
}

void ServerProcess::Start() {
    const int log = open(m_log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    m_pid = log < 0 ? -1 : fork();
    if (m_pid == 0) Execute(m_command, log);
    close(log);
    if (m_pid < 0) throw std::runtime_error(m_command.front() + " cannot be started");
}

bool ServerProcess::IsRunning() {
    if (m_pid > 0 && waitpid(m_pid, nullptr, WNOHANG) == m_pid) m_pid = -1;
    return m_pid > 0;
}

void ServerProcess::End(int signal) {
    if (!IsRunning()) return;
    kill(m_pid, signal);
    const Clock::time_point limit = Clock::now() + kPatience;
    while (signal != SIGKILL && IsRunning() && Clock::now() < limit) LetTimePass();
    if (m_pid < 0) return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
    m_pid = -1;
}

void ServerProcess::Signal(int number) const {
    kill(m_pid, number);
}

void ServerProcess::WaitForPort(std::uint16_t port) {
    const Clock::time_point limit = Clock::now() + kPatience;
    for (;;) {
        const int connection = ConnectToPort(port);
        close(connection);
        if (!IsRunning()) throw std::runtime_error(m_command.front() + " ended: " + LogEnd());
        if (connection >= 0) return;
        if (Clock::now() > limit) throw std::runtime_error(m_command.front() + " takes no connections: " + LogEnd());
        LetTimePass();
    }
}

std::string ServerProcess::LogEnd() const {
    std::ifstream file(m_log, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return text.size() <= 2000 ? text : text.substr(text.size() - 2000);
}

std::vector<std::uint16_t> FreePorts(std::size_t count) {
    std::vector<std::uint16_t> ports;
    while (ports.size() < count) {
        const std::uint16_t port = NextPort();
        if (IsFree(port)) ports.push_back(port);
    }
    return ports;
}

int ConnectToPort(std::uint16_t port) {
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(port);
    if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return connection;
    close(connection);
    return -1;
}

std::string FindProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(std::string(path == nullptr ? "" : path) + ":/usr/sbin:/sbin");
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::string program = folder + "/" + name;
        if (!folder.empty() && access(program.c_str(), X_OK) == 0) return program;
    }
    return {};
}

void RunToItsEnd(const std::vector<std::string>& command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const pid_t pid = fork();
    if (pid == 0) Execute(command, ends[1]);
    close(ends[1]);
    const std::string printed = ReadAll(ends[0]);
    close(ends[0]);
    int status = -1;
    waitpid(pid, &status, 0);
    if (status != 0) throw std::runtime_error(command.front() + " failed: " + printed);
}
