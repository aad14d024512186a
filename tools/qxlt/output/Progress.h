// A line on the terminal that says how far a long piece of work is. Nothing appears within the first second, nor when
// standard error is no terminal.
#pragma once

#include <chrono>
#include <string>

namespace qxlt {

class Progress final {
public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    // Wipes the line away.
    ~Progress();

    // What is being done, for example "dump 12 of 40", made fit for a terminal. Cheap: most calls only look at the
    // clock.
    void Show(const std::string& text);

    // Takes the line away before other output to the terminal; Show brings it back.
    void Wipe();

private:
    using Clock = std::chrono::steady_clock;

    const bool m_terminal;
    Clock::time_point m_next;  // when the line may be drawn again
    bool m_visible = false;
};

}  // namespace qxlt
