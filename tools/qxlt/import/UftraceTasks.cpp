#include "UftraceTasks.h"

#include <charconv>
#include <optional>
#include <sstream>

namespace qxlt {

namespace {

constexpr unsigned kMostGenerations = 64;

// The number after " KEY=".
std::optional<std::uint32_t> NumberAfter(const std::string& line, const std::string& key) {
    const std::size_t found = line.find(" " + key + "=");
    if (found == std::string::npos) return std::nullopt;
    const char* const begin = line.data() + found + key.size() + 2;
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(begin, line.data() + line.size(), number);
    if (error != std::errc()) return std::nullopt;
    return number;
}

// The file's name of exename="PATH".
std::string ProgramOf(const std::string& line) {
    const std::string key = " exename=\"";
    const std::size_t found = line.find(key);
    if (found == std::string::npos) return std::string();
    const std::size_t begin = found + key.size();
    const std::string path = line.substr(begin, line.rfind('"') - begin);
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

UftraceTasks::UftraceTasks(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) TakeLine(line);
}

void UftraceTasks::TakeLine(const std::string& line) {
    const std::optional<std::uint32_t> process = NumberAfter(line, "pid");
    if (!process) return;
    const std::string kind = line.substr(0, line.find(' '));
    if (kind == "SESS") {
        m_programs[*process] = ProgramOf(line);
    } else if (kind == "TASK") {
        const std::optional<std::uint32_t> thread = NumberAfter(line, "tid");
        if (thread) m_processes[*thread] = *process;
    } else if (kind == "FORK") {
        const std::optional<std::uint32_t> parent = NumberAfter(line, "ppid");
        if (parent) m_parents[*process] = *parent;
    }
}

std::uint32_t UftraceTasks::ProcessOf(std::uint64_t thread) const {
    const auto found = m_processes.find(thread);
    return found == m_processes.end() ? static_cast<std::uint32_t>(thread) : found->second;
}

// Damaged files may make processes each other's parents.
std::string UftraceTasks::NameOf(std::uint32_t process) const {
    for (unsigned i = 0; i < kMostGenerations; ++i) {
        const auto program = m_programs.find(process);
        if (program != m_programs.end()) return program->second;
        const auto parent = m_parents.find(process);
        if (parent == m_parents.end()) return std::string();
        process = parent->second;
    }
    return std::string();
}

}  // namespace qxlt
