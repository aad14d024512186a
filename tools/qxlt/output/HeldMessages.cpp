#include "HeldMessages.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "Messages.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostKept = 100;
constexpr std::size_t kLongestLine = 4096;  // a longer one is taken for two

[[noreturn]] void Fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// What is written for a terminal wipes a line that counts; here none does.
std::string WithoutWiping(const std::string& line) {
    const std::string wipe = kWipeLine;
    return Printable(line.compare(0, wipe.size(), wipe) == 0 ? line.substr(wipe.size()) : line);
}

}  // namespace

HeldMessages::Ends HeldMessages::MakePipe() {
    std::array<int, 2> ends{-1, -1};
    if (isatty(STDERR_FILENO) == 0) return {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) Fail("pipe");
    return {ends[0], ends[1]};
}

HeldMessages::HeldMessages() : HeldMessages(MakePipe()) {}

HeldMessages::HeldMessages(const Ends& pipe)
    : m_source(pipe.read), m_terminal(pipe.read < 0 ? -1 : fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
    if (!m_source.IsOpen()) return;
    const Descriptor end(pipe.write);
    if (!m_terminal.IsOpen() || dup2(end.Get(), STDERR_FILENO) < 0) Fail("standard error");
}

// A thread that writes just now may hold the pipe open a moment longer.
HeldMessages::~HeldMessages() {
    if (!m_source.IsOpen()) return;
    dup2(m_terminal.Get(), STDERR_FILENO);
    while (Fill()) TakeLines();
    if (!m_begun.empty()) Keep(WithoutWiping(m_begun));
    if (m_leftOut > 0) PrintNote(Counted(m_leftOut, "line") + " before these left out");
    for (const std::string& line : m_kept) PrintNote(line);
}

std::vector<std::string> HeldMessages::Read() {
    pollfd source{m_source.Get(), POLLIN, 0};
    std::vector<std::string> lines;
    while (poll(&source, 1, 0) == 1 && Fill()) {
        for (std::string& line : TakeLines()) lines.push_back(std::move(line));
    }
    return lines;
}

// Waits for what is written; false at the end.
bool HeldMessages::Fill() {
    std::array<char, 4096> bytes{};
    const ssize_t count = read(m_source.Get(), bytes.data(), bytes.size());
    if (count < 0) return errno == EINTR;
    m_begun.append(bytes.data(), static_cast<std::size_t>(count));
    return count > 0;
}

std::vector<std::string> HeldMessages::TakeLines() {
    std::vector<std::string> lines;
    for (;;) {
        const std::size_t end = m_begun.find('\n');
        const bool isWhole = end != std::string::npos;
        if (!isWhole && m_begun.size() < kLongestLine) return lines;
        lines.push_back(WithoutWiping(m_begun.substr(0, isWhole ? end : kLongestLine)));
        m_begun.erase(0, isWhole ? end + 1 : kLongestLine);
        Keep(lines.back());
    }
}

void HeldMessages::Keep(const std::string& line) {
    m_kept.push_back(line);
    if (m_kept.size() <= kMostKept) return;
    m_kept.pop_front();
    ++m_leftOut;
}

}  // namespace qxlt
