#include "ScreenDisplay.h"

namespace qxlt {

void ScreenDisplay::Open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_screen = MethodScreen::Open(m_page, m_quit);
    m_hadScreen = m_screen != nullptr;
}

// A cycle may be in progress.
void ScreenDisplay::Close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_screen.reset();
}

void ScreenDisplay::Show(const MethodInterval& interval) {
    if (!m_hadScreen) return m_printer.Show(interval);
    m_whole = interval.whole;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_screen != nullptr) m_screen->Show(interval);
}

void ScreenDisplay::Finish() {
    if (m_hadScreen && !m_whole.rows.empty()) m_printer.PrintWhole(m_whole);
}

}  // namespace qxlt
