#include "NamedProcess.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <stdexcept>

namespace {

[[noreturn]] void Live(const char* name, int ready) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, name);
    const bool told = write(ready, "", 1) == 1;
    while (told) pause();
    _exit(1);
}

}  // namespace

NamedProcess::NamedProcess(const std::string& name) : m_name(name) {
    int ready[2];
    if (pipe(ready) != 0) throw std::runtime_error("no pipe");
    m_pid = fork();
    if (m_pid == 0) Live(m_name.c_str(), ready[1]);
    close(ready[1]);
    char byte;
    const bool lives = m_pid > 0 && read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    if (!lives) throw std::runtime_error("no child process");
}

NamedProcess::~NamedProcess() {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
}

std::string NamedProcess::UniqueName(const std::string& ending) {
    static std::atomic<unsigned> count{0};
    char lead[16];
    std::snprintf(lead, sizeof lead, "q%06x%02x~", static_cast<unsigned>(getpid()) & 0xFFFFFFu, ++count & 0xFFu);
    return lead + ending;
}
