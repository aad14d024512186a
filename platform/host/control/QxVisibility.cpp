#include "QxVisibility.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

#include "QxFd.h"
#include "QxFileName.h"
#include "QxProcessInfo.h"
#include "QxRuntimeDir.h"

namespace qxhost {

using qx::host::ProcessState;
using qx::host::Visibility;

namespace {

// Environments are a few kilobytes, and whoever fills megabytes is not helped by reading them.
constexpr std::size_t kMaxEnvironment = 1 << 20;
constexpr std::size_t kMaxLine = 8192;

std::string ProcPath(pid_t pid, const char* entry) {
    return "/proc/" + std::to_string(pid) + "/" + entry;
}

// What is known of where a process records.
struct Traces {
    bool areReadable = false;
    int error = 0;              // why they are not
    bool hasRecorder = false;   // the library is loaded
    std::string directory;      // that its recording lies in, as the process sees it, or that of whom it is a fork of
    bool hasRecording = false;  // of its own
    bool isRemoved = false;     // that is in no directory any more
    std::string name;           // that it goes by
};

// The path of the mapped file out of a line of /proc/PID/maps; empty when it has none.
std::string MappedPath(const std::string& line) {
    const std::size_t slash = line.find('/');
    return slash == std::string::npos ? std::string() : line.substr(slash);
}

void TakeMapping(pid_t pid, std::string path, Traces& traces) {
    const std::string removed = " (deleted)";
    const bool isRemoved =
        path.size() > removed.size() && path.compare(path.size() - removed.size(), removed.size(), removed) == 0;
    if (isRemoved) path.resize(path.size() - removed.size());
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return;
    const std::string name = path.substr(slash + 1);
    if (name.rfind("libqxrecorder", 0) == 0) traces.hasRecorder = true;
    QxFileName recording;
    if (!QxFileName::Parse(name, recording) || recording.suffix != QxFileName::kRecording) return;
    traces.hasRecorder = true;
    traces.directory = path.substr(0, slash);
    traces.name = recording.name;
    traces.hasRecording =
        recording.pid == QxProcessInfo::InnerPid(pid) && recording.startTime == QxProcessInfo::StartTime(pid);
    traces.isRemoved = isRemoved;
}

Traces TracesOf(pid_t pid) {
    Traces traces;
    const QxFd file(::open(ProcPath(pid, "maps").c_str(), O_RDONLY | O_CLOEXEC));
    std::string text(65536, '\0');
    std::string line;
    for (;;) {
        const ssize_t size = file ? ::read(file.Get(), &text[0], text.size()) : -1;
        if (size < 0) traces.error = errno;
        if (size <= 0) break;
        traces.areReadable = true;
        for (ssize_t i = 0; i < size; ++i) {
            const char c = text[static_cast<std::size_t>(i)];
            if (c != '\n') {
                if (line.size() < kMaxLine) line += c;
                continue;
            }
            TakeMapping(pid, MappedPath(line), traces);
            line.clear();
        }
    }
    return traces;
}

// The user that it runs as, for files: what its runtime directory belongs to.
bool EffectiveUser(pid_t pid, uid_t& user) {
    std::istringstream numbers(QxProcessInfo::Status(pid, "Uid:"));
    uid_t real = 0;
    return static_cast<bool>(numbers >> real >> user);
}

std::string UserText(uid_t user) {
    struct passwd entry {};
    struct passwd* found = nullptr;
    std::vector<char> buffer(16384);
    const bool isKnown = ::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr;
    return isKnown ? std::string(found->pw_name) + " (" + std::to_string(user) + ")" : std::to_string(user);
}

// Whether it sees the same directories. True when the system does not tell.
bool SharesDirectories(pid_t pid) {
    struct stat own {};
    struct stat other {};
    if (::stat("/proc/self/ns/mnt", &own) != 0 || ::stat(ProcPath(pid, "ns/mnt").c_str(), &other) != 0) return true;
    return own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

// A path as the process sees it, from the top.
std::string Absolute(pid_t pid, const std::string& path) {
    std::string top(kMaxLine, '\0');
    const ssize_t size = path[0] == '/' ? -1 : ::readlink(ProcPath(pid, "cwd").c_str(), &top[0], top.size());
    return size > 0 ? top.substr(0, static_cast<std::size_t>(size)) + "/" + path : path;
}

// Where the recorder of a process with this environment puts its recording.
std::string ChosenDirectory(pid_t pid) {
    std::string environment;
    std::ifstream file(ProcPath(pid, "environ"), std::ios::binary);
    for (std::string entry; environment.size() < kMaxEnvironment && std::getline(file, entry, '\0');) {
        environment += entry;
        const std::string name = "QX_RUNTIME_DIR=";
        if (entry.compare(0, name.size(), name) == 0 && entry.size() > name.size()) {
            return Absolute(pid, QxRuntimeDir::Normal(entry.substr(name.size())));
        }
    }
    return QxRuntimeDir::OwnPath();
}

// As a word of a shell's command.
std::string Quoted(const std::string& text) {
    const char* plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+=:,@%";
    if (text.find_first_not_of(plain) == std::string::npos) return text;
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// Whether both name one directory, be it by other ways.
bool IsSame(const std::string& left, const std::string& right) {
    if (left == right) return true;
    struct stat one {};
    struct stat other {};
    return ::stat(left.c_str(), &one) == 0 && ::stat(right.c_str(), &other) == 0 && one.st_dev == other.st_dev &&
           one.st_ino == other.st_ino;
}

ProcessState State(pid_t pid, Visibility visibility, std::string problem, std::string advice) {
    ProcessState state;
    state.pid = pid;
    state.isRunning = true;
    state.visibility = visibility;
    state.problem = std::move(problem);
    state.advice = std::move(advice);
    return state;
}

ProcessState OfOtherUser(pid_t pid, uid_t user) {
    return State(pid, Visibility::OtherUser,
                 "it runs as user " + UserText(user) + ", and this is user " + UserText(::geteuid()),
                 "run this as user " + UserText(user) + ", with su or sudo: nobody else may read its recording");
}

ProcessState OfOtherDirectory(pid_t pid, const std::string& theirs, const std::string& ours, bool isApart) {
    const std::string path = (isApart ? "/proc/" + std::to_string(pid) + "/root" : std::string()) + theirs;
    const std::string advice = "run this with QX_RUNTIME_DIR=" + Quoted(path);
    if (isApart) {
        return State(pid, Visibility::OtherNamespace,
                     "it sees other directories (in a container, say) and records into its own " + theirs, advice);
    }
    return State(pid, Visibility::OtherDirectory, "it records into " + theirs + ", and this looks into " + ours,
                 advice);
}

}  // namespace

ProcessState QxVisibility::Diagnose(pid_t pid, const std::string& directory) {
    uid_t user = ::geteuid();
    if (EffectiveUser(pid, user) && user != ::geteuid()) return OfOtherUser(pid, user);
    const Traces traces = TracesOf(pid);
    if (!traces.areReadable) {
        return Unreadable(pid,
                          "the system does not show what it has loaded: " + std::string(std::strerror(traces.error)));
    }
    if (!traces.hasRecorder) {
        return State(pid, Visibility::NoRecorder, "it has not loaded the recorder (libqxrecorder)",
                     "link it with libqxrecorder, mark its calls, and start it again");
    }
    const bool isApart = !SharesDirectories(pid);
    const std::string theirs = traces.directory.empty() ? ChosenDirectory(pid) : traces.directory;
    if (isApart || !IsSame(theirs, directory)) return OfOtherDirectory(pid, theirs, directory, isApart);
    if (traces.hasRecording && traces.isRemoved) {
        return State(pid, Visibility::Unreadable, "its recording was removed from " + directory, "start it again");
    }
    if (traces.hasRecording) {
        return State(pid, Visibility::Unreadable, "it records as " + traces.name + ", its name when it began",
                     "watch it under that name");
    }
    return State(
        pid, Visibility::NothingYet, "it has the recorder, and has recorded nothing yet",
        "wait until it calls a traced function; if it should have, see what its own log says of the recording");
}

ProcessState QxVisibility::Unreadable(pid_t pid, const std::string& reason) {
    return State(pid, Visibility::Unreadable, reason, "start it again, and see what its own log says of the recording");
}

}  // namespace qxhost
