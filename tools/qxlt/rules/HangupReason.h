// What a SIGHUP means: that the terminal went away, or a wish to have the configuration read again. A daemon's has no
// other meaning than the second one.
#pragma once

#include <array>

namespace qxlt {

class HangupReason final {
public:
    // Looks at what there is now: whether the program has a terminal, and whether the signal is ignored, as `nohup` has
    // it so that the program outlives its terminal.
    HangupReason();

    // Whether a signal that has come now has the program end: the terminal that there was is gone.
    bool IsEnd() const;

private:
    const bool m_isIgnored;
    const bool m_hasTerminal;                  // that controls the program
    const std::array<bool, 3> m_areTerminals;  // standard input, output and error
};

}  // namespace qxlt
