#include "QxDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "QxFd.h"

namespace qxhost {

namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

}  // namespace

bool QxDirectory::List(int directoryFd, std::vector<std::string>& names) {
    names.clear();
    QxFd fd(::openat(directoryFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, DirectoryCloser> directory(fd ? ::fdopendir(fd.Get()) : nullptr);
    if (directory == nullptr) return false;
    fd.Release();
    errno = 0;
    while (const dirent* entry = ::readdir(directory.get())) {
        names.emplace_back(entry->d_name);
        errno = 0;
    }
    return errno == 0;
}

}  // namespace qxhost
