// Calls that are put aside in a file until all of them are known, and come back in the order in which they ended. A
// recording that has one thread after the other is brought into the order of time so, however large it is.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Descriptor.h"
#include "ImportedCapture.h"

namespace qxlt {

class CallSpool final {
public:
    // The file lies in that directory, without a name. Throws a Failure (cannot start).
    explicit CallSpool(std::string directory);

    // Adds a call of the thread that is being read; `end` is when it ended, or when it was given up.
    void Add(std::uint64_t end, const ImportedCapture::Packed& call);

    // The next call is another thread's.
    void EndThread();

    // Gives all of them back. Throws a Failure (input wrong) when the file could not be written or read.
    void Merge(const std::function<void(const ImportedCapture::Packed&)>& sink);

private:
    // What one thread left: a run of the file, in order.
    struct Run {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
    };
    class Reader;

    void Flush();
    [[noreturn]] void Fail() const;

    const std::string m_directory;
    const Descriptor m_file;
    std::vector<Run> m_runs;
    std::string m_buffer;         // at the file's end, not written yet
    std::uint64_t m_written = 0;  // bytes
    std::uint64_t m_runBegin = 0;
    std::uint64_t m_last = 0;  // end of the thread's call before
};

}  // namespace qxlt
