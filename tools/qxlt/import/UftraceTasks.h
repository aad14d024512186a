// Which process each thread of a recording of uftrace belonged to: what the file task.txt in it tells.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace qxlt {

class UftraceTasks final {
public:
    // Takes the file's text; lines of other kinds are passed over.
    explicit UftraceTasks(const std::string& text);

    // The thread's process; its own id when that is not told.
    std::uint32_t ProcessOf(std::uint64_t thread) const;

    // The name of the program that the process, or the one that it was forked from, ran last; may be empty.
    std::string NameOf(std::uint32_t process) const;

private:
    void TakeLine(const std::string& line);

    std::map<std::uint64_t, std::uint32_t> m_processes;
    std::map<std::uint32_t, std::uint32_t> m_parents;
    std::map<std::uint32_t, std::string> m_programs;
};

}  // namespace qxlt
