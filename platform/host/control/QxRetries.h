// How often the rings of a recording are tried again whose writers overrun the copy each time. What is not read is
// overwritten by then, or comes the next time.
#pragma once

#include <cstddef>

namespace qxhost {

// Serves one reading of one recording.
class QxRetries {
public:
    // Whether a ring of that size that was tried so often, in vain each time, may be tried once more: up to 16 times,
    // and as long as all rings of the recording together take no more than 64 MiB.
    bool Take(int tries, std::size_t ringSize);

private:
    std::size_t m_bytesLeft = 64 << 20;
};

}  // namespace qxhost
