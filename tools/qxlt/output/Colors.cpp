#include "Colors.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace qxlt {

namespace {

bool IsWanted() {
    const char* const refusal = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return (refusal == nullptr || refusal[0] == '\0') && (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

}  // namespace

Colors::Colors(int fd) : m_on(isatty(fd) != 0 && IsWanted()) {}

std::string Colors::Paint(const char* code, const std::string& text) const {
    return m_on ? std::string("\033[") + code + "m" + text + "\033[0m" : text;
}

}  // namespace qxlt
