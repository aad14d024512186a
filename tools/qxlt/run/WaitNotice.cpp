#include "WaitNotice.h"

#include <chrono>

#include "Messages.h"
#include "Text.h"

namespace qxlt {

void WaitNotice::Show(const std::vector<std::string>& names) {
    const auto waited = std::chrono::floor<std::chrono::seconds>(Interruption::Clock::now() - m_start).count();
    if (waited < m_next && names == m_names) return;
    m_names = names;
    const std::string text = "waiting for " + CommaSeparated(names) + ", " + std::to_string(waited) + " s";
    if (!m_terminal) {
        PrintNote(text);
    } else {
        const std::string line = kWipeLine + Printable(text);
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    }
    m_next = waited + (m_terminal ? 1 : 10);
}

}  // namespace qxlt
