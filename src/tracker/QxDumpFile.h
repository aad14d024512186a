// Reading of the files that dumps are handed over in.
#pragma once

#include <string>
#include <vector>

class QxDumpFile final {
public:
    // The whole content of the file; empty when it cannot be opened, which is normal for a process that has gone away.
    // Anything but a regular file, or one larger than a dump can be (2 GiB), is reported at level Major and empty: it
    // must neither block nor fill the memory.
    static std::vector<char> Read(const std::string& path);
};
