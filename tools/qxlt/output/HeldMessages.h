// Keeps what the process writes on standard error while something else stands on the terminal, and writes it out
// afterwards.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "Descriptor.h"

namespace qxlt {

// Only where standard error is a terminal: a file gets everything at once. Whoever writes more than a pipe holds waits
// for Read. One thread at a time, apart from those that write.
class HeldMessages final {
public:
    // Throws std::system_error.
    HeldMessages();
    HeldMessages(const HeldMessages&) = delete;
    HeldMessages& operator=(const HeldMessages&) = delete;
    // Writes out what was kept: the last lines, and how many came before them.
    ~HeldMessages();

    // Can be read from when there is something; below 0: nothing is held.
    int Source() const { return m_source.Get(); }

    // The whole lines that have come since the last time, made fit for a terminal. Does not wait.
    std::vector<std::string> Read();

private:
    struct Ends {
        int read;
        int write;
    };

    explicit HeldMessages(const Ends& pipe);
    static Ends MakePipe();
    bool Fill();
    std::vector<std::string> TakeLines();
    void Keep(const std::string& line);

    const Descriptor m_source;
    const Descriptor m_terminal;  // what standard error was
    std::string m_begun;          // what came behind the last end of a line
    std::deque<std::string> m_kept;
    std::size_t m_leftOut = 0;
};

}  // namespace qxlt
