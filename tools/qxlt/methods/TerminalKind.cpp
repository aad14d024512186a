#include "TerminalKind.h"

#include <unistd.h>

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>

#include <cstdint>

namespace qxlt {

namespace {

// Empty for what a terminal cannot. The library says null, or an address of -1 for a word that is none.
std::string Capability(const char* word) {
    const char* const text = tigetstr(word);
    return text == nullptr || reinterpret_cast<std::intptr_t>(text) == -1 ? "" : text;
}

}  // namespace

// Asked for before a screen is opened: one that fails to open leaves memory behind.
bool CanDraw() {
    return !ClearText().empty();
}

std::string ClearText() {
    int fault = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &fault) != OK) return "";
    std::string clear = Capability("cup").empty() ? "" : Capability("clear");
    del_curterm(cur_term);
    return clear;
}

}  // namespace qxlt
