#include "QxRuntimeDir.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace qxhost {

namespace {

std::string Refusal(const struct stat& status) {
    if (status.st_uid != ::geteuid()) return "it belongs to another user";
    if ((status.st_mode & 077) != 0) return "group or others may enter it, its mode must be 0700";
    return {};
}

std::string OpenFailure(int error) {
    if (error == ELOOP) return "it is a symbolic link";
    if (error == ENOTDIR) return "it is no directory";
    return std::strerror(error);
}

}  // namespace

std::string QxRuntimeDir::DefaultPath() {
    const char* path = std::getenv("QX_RUNTIME_DIR");
    return path != nullptr && *path != '\0' ? Normal(path) : OwnPath();
}

std::string QxRuntimeDir::OwnPath() {
    return "/dev/shm/qx-" + std::to_string(::geteuid());
}

// With a trailing slash the system would follow a symbolic link in the last component.
std::string QxRuntimeDir::Normal(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

QxFd QxRuntimeDir::Open(const std::string& path, bool create, std::string& error) {
    const std::string name = Normal(path);
    std::string reason;
    if (create && ::mkdir(name.c_str(), 0700) != 0 && errno != EEXIST) reason = std::strerror(errno);
    QxFd fd(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!fd) {
        if (!create && errno == ENOENT) return {};
        // Opening a link with O_DIRECTORY | O_NOFOLLOW says ENOTDIR on some kernels.
        struct stat status {};
        const int openError = errno;
        const bool isLink = ::lstat(name.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
        if (reason.empty() || openError != ENOENT) reason = OpenFailure(isLink ? ELOOP : openError);
        error = "runtime directory " + name + " is not usable: " + reason;
        return {};
    }
    struct stat status {};
    reason = ::fstat(fd.Get(), &status) == 0 ? Refusal(status) : std::strerror(errno);
    if (reason.empty()) return fd;
    error = "runtime directory " + name + " is refused: " + reason;
    return {};
}

}  // namespace qxhost
