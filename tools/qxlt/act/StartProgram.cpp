#include "StartProgram.h"

#include <spawn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>

#include "Descriptor.h"
#include "WriteAll.h"

namespace qxlt {

namespace {

constexpr char kShell[] = "/bin/sh";

void Require(int error, const char* what) {
    if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

class FileActions final {
public:
    FileActions() { Require(posix_spawn_file_actions_init(&m_actions), "posix_spawn"); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&m_actions); }

    void Duplicate(int from, int to) { Require(posix_spawn_file_actions_adddup2(&m_actions, from, to), "posix_spawn"); }
    const posix_spawn_file_actions_t* Get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions;
};

class Attributes final {
public:
    Attributes() {
        Require(posix_spawnattr_init(&m_attributes), "posix_spawn");
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { posix_spawnattr_destroy(&m_attributes); }

    const posix_spawnattr_t* Get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes;
};

// A file in memory rather than a pipe: nobody waits for a program that does not read.
int OpenInput(const std::string& input) {
    const int file = memfd_create("event", MFD_CLOEXEC);
    if (file < 0) Require(errno, "memfd_create");
    if (WriteAll(file, input.data(), input.size()) && lseek(file, 0, SEEK_SET) == 0) return file;
    const int error = errno;
    close(file);
    throw std::system_error(error, std::generic_category(), "standard input");
}

std::string_view NameOf(std::string_view variable) {
    return variable.substr(0, variable.find('='));
}

// What this process has, without what is set anew.
std::vector<char*> Environment(const std::vector<std::string>& own) {
    std::vector<char*> all;
    all.reserve(own.size() + 1);
    for (const std::string& variable : own) all.push_back(const_cast<char*>(variable.c_str()));
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        const bool isSet = std::any_of(
            own.begin(), own.end(), [variable](const std::string& name) { return NameOf(name) == NameOf(*variable); });
        if (!isSet) all.push_back(*variable);
    }
    all.push_back(nullptr);
    return all;
}

}  // namespace

pid_t StartProgram(const ProgramStart& start) {
    const Descriptor input(OpenInput(start.input));
    FileActions files;
    files.Duplicate(input.Get(), STDIN_FILENO);
    files.Duplicate(STDERR_FILENO, STDOUT_FILENO);
    const Attributes attributes;
    std::string words[] = {"sh", "-c", start.command};
    char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    const std::vector<char*> environment = Environment(start.environment);
    pid_t pid = -1;
    Require(posix_spawn(&pid, kShell, files.Get(), attributes.Get(), arguments, environment.data()), kShell);
    return pid;
}

}  // namespace qxlt
