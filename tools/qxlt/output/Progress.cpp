#include "Progress.h"

#include <unistd.h>

#include "Messages.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::chrono::seconds kPatience(1);
constexpr std::chrono::milliseconds kRefresh(200);

void WriteToTerminal(const std::string& text) {
    // A terminal that is gone has nobody who would miss the line.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

Progress::Progress() : m_terminal(isatty(STDERR_FILENO) != 0), m_next(Clock::now() + kPatience) {}

Progress::~Progress() {
    Wipe();
}

void Progress::Show(const std::string& text) {
    if (!m_terminal || Clock::now() < m_next) return;
    m_next = Clock::now() + kRefresh;
    m_visible = true;
    WriteToTerminal(kWipeLine + Printable(text));
}

void Progress::Wipe() {
    if (m_visible) WriteToTerminal(kWipeLine);
    m_visible = false;
}

}  // namespace qxlt
