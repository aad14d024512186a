// The directory in which recordings and dumps live: private to its user, and refused when it is not.
#pragma once

#include <string>

#include "QxFd.h"

namespace qxhost {

class QxRuntimeDir {
public:
    // QX_RUNTIME_DIR, or /dev/shm/qx-<effective user id>.
    static std::string DefaultPath();

    // What that is where QX_RUNTIME_DIR is not set; and a path that it is set to, as it is used.
    static std::string OwnPath();
    static std::string Normal(std::string path);

    // Opens the directory, after creating it (its last component only, mode 0700) when `create` is set. Refuses one
    // that is a symbolic link, belongs to another user or lets group or others in. Returns an empty descriptor when it
    // fails, with one line in `error`; a directory that is merely missing leaves `error` empty unless `create` is set.
    static QxFd Open(const std::string& path, bool create, std::string& error);
};

}  // namespace qxhost
