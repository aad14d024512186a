#include "TerminalKind.h"

#include <unistd.h>

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>

#include <cstdint>

namespace qxlt {

namespace {

// Null for a terminal that cannot, and an address of -1 for a word that is none.
bool HasCursor() {
    const char* const text = tigetstr("cup");
    return text != nullptr && reinterpret_cast<std::intptr_t>(text) != -1;
}

}  // namespace

// Asked for before a screen is opened: one that fails to open leaves memory behind.
bool CanDraw() {
    int fault = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &fault) != OK) return false;
    const bool hasCursor = HasCursor();
    del_curterm(cur_term);
    return hasCursor;
}

}  // namespace qxlt
