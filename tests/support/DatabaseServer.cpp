#include "DatabaseServer.h"

#include <fcntl.h>
#include <grp.h>
#include <libpq-fe.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kPatience{60};

// Where distributions put the programs of one version or several.
std::string FindPrograms() {
    std::vector<std::string> found;
    std::error_code error;
    for (const fs::directory_entry& version : fs::directory_iterator("/usr/lib/postgresql", error)) {
        const std::string programs = version.path().string() + "/bin";
        if (access((programs + "/initdb").c_str(), X_OK) == 0) found.push_back(programs);
    }
    return found.empty() ? "" : *std::max_element(found.begin(), found.end());
}

// The server does not run as root.
const passwd* OtherUser() {
    if (geteuid() != 0) return nullptr;
    const passwd* const user = getpwnam("postgres");
    return user != nullptr ? user : getpwnam("nobody");
}

pid_t Begin(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const passwd* const user = OtherUser();
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid != 0) return pid;
    if (user != nullptr && (setgroups(0, nullptr) != 0 || setgid(user->pw_gid) != 0 || setuid(user->pw_uid) != 0)) {
        _exit(126);
    }
    prctl(PR_SET_PDEATHSIG, SIGQUIT);
    if (getppid() != parent) _exit(125);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int standard : {0, 1, 2}) dup2(nowhere, standard);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (chdir("/") == 0) execv(arguments.front(), arguments.data());
    _exit(127);
}

int End(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

std::string MakeDirectory() {
    std::string path = (fs::temp_directory_path() / "qxdb.XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("mkdtemp " + path);
    const passwd* const user = OtherUser();
    if (user != nullptr && chown(path.c_str(), user->pw_uid, user->pw_gid) != 0) throw std::runtime_error("chown");
    return path;
}

}  // namespace

std::unique_ptr<DatabaseServer> DatabaseServer::Start() {
    const std::string programs = FindPrograms();
    if (programs.empty()) return nullptr;
    std::unique_ptr<DatabaseServer> server(new DatabaseServer(programs, MakeDirectory()));
    const pid_t pid = Begin({programs + "/initdb", "-D", server->m_directory + "/data", "-A", "trust", "-U", "tester",
                             "--no-sync", "-E", "UTF8", "--locale=C"});
    if (End(pid) != 0) throw std::runtime_error("initdb failed");
    server->Restart();
    return server;
}

DatabaseServer::DatabaseServer(std::string programs, std::string directory)
    : m_programs(std::move(programs)), m_directory(std::move(directory)) {}

DatabaseServer::~DatabaseServer() {
    Kill();
    std::error_code error;
    fs::remove_all(m_directory, error);
}

std::string DatabaseServer::Address() const {
    return "postgresql://tester@/postgres?host=" + m_directory;
}

void DatabaseServer::Kill() {
    if (m_pid <= 0) return;
    kill(m_pid, SIGQUIT);  // its children go with it
    End(m_pid);
    m_pid = -1;
}

void DatabaseServer::Restart() {
    m_pid = Begin({m_programs + "/postgres", "-D", m_directory + "/data", "-k", m_directory, "-c",
                   "listen_addresses=", "-c", "fsync=off", "-c", "max_connections=10", "-c", "shared_buffers=4MB"});
    WaitUntilReady();
}

void DatabaseServer::WaitUntilReady() const {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (PQping(Address().c_str()) != PQPING_OK) {
        if (waitpid(m_pid, nullptr, WNOHANG) != 0) throw std::runtime_error("postgres ended");
        if (std::chrono::steady_clock::now() > limit) throw std::runtime_error("postgres does not answer");
        usleep(20000);
    }
}
