// The tracing framework's control interface, as far as the library uses it.
#pragma once

#include <string>
#include <vector>

namespace qx {

class IControl {
public:
    virtual ~IControl() = default;

    // Writes a dump of the named process's trace buffers to a file and fills `path` with the file's path, as bytes
    // without a terminating zero; `path` is empty when there is no dump. With `first`, everything that is still
    // buffered; without, what came since the last dump of that process. The file is the control's: the caller reads it
    // and leaves it in place. Returns whether there is a dump.
    virtual bool getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) = 0;
};

}  // namespace qx
