// Shows methods on a screen while they are counted, and leaves the numbers of the whole run on the terminal.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "IMethodDisplay.h"
#include "MethodPage.h"
#include "MethodPrinter.h"
#include "MethodScreen.h"

namespace qxlt {

class ScreenDisplay final : public IMethodDisplay {
public:
    // Where there can be no screen, `printer` shows all. It must outlive the display. `quit` is called when the user
    // wants to end, by a thread of the screen's.
    ScreenDisplay(MethodPage page, MethodPrinter& printer, std::function<void()> quit)
        : m_page(std::move(page)), m_printer(printer), m_quit(std::move(quit)) {}

    void Open() override;
    void Close() override;
    void Show(const MethodInterval& interval) override;
    void Finish() override;

private:
    const MethodPage m_page;
    MethodPrinter& m_printer;
    const std::function<void()> m_quit;
    std::mutex m_mutex;
    std::unique_ptr<MethodScreen> m_screen;  // guarded by m_mutex
    bool m_hadScreen = false;                // set before the cycles begin
    MethodSpan m_whole;                      // of the last interval
};

}  // namespace qxlt
