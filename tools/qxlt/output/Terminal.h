// How much room a line has.
#pragma once

#include <cstddef>

namespace qxlt {

// The columns of the terminal that the descriptor leads to; 0 when it leads to none, or one that does not tell.
std::size_t TerminalWidth(int fd);

}  // namespace qxlt
