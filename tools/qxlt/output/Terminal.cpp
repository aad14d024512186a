#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace qxlt {

std::size_t TerminalWidth(int fd) {
    winsize size{};
    return isatty(fd) != 0 && ioctl(fd, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace qxlt
