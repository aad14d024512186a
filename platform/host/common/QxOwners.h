// Finds the processes that recordings belong to. One object serves one pass over recordings: what it had to look for
// among all processes it keeps.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

#include "QxFileName.h"

namespace qxhost {

class QxOwners {
public:
    // The process that records into the file of that name and inode, 0 when it has ended or runs another program in its
    // place. The id is the one that it has here: a process in a container names its recording after the id that it has
    // there. When the system does not tell, the process is taken to run. `hint` is the answer of an earlier pass, 0
    // for none.
    pid_t Find(const QxFileName& name, ino_t inode, pid_t hint = 0);

private:
    // A process that has another id in a namespace of its own.
    struct Contained {
        pid_t pid = 0;
        pid_t innerPid = 0;
        std::uint64_t startTime = 0;
    };

    pid_t FindContained(const QxFileName& name);
    void ListContained();

    bool m_hasListed = false;
    std::vector<Contained> m_contained;
};

}  // namespace qxhost
