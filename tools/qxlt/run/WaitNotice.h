// Says which processes a run waits for.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Interruption.h"

namespace qxlt {

// On a terminal on one line that counts the seconds, elsewhere every ten seconds and whenever it is less.
class WaitNotice final {
public:
    explicit WaitNotice(Interruption::Clock::time_point start) : m_start(start) {}

    void Show(const std::vector<std::string>& names);

private:
    const Interruption::Clock::time_point m_start;
    const bool m_terminal = isatty(STDERR_FILENO) != 0;
    std::int64_t m_next = 0;
    std::vector<std::string> m_names;  // that were said last
};

}  // namespace qxlt
