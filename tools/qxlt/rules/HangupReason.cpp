#include "HangupReason.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "Descriptor.h"

namespace qxlt {

namespace {

bool IsIgnored() {
    struct sigaction action {};
    return sigaction(SIGHUP, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// The system takes it from the whole session when it hangs up.
bool HasControllingTerminal() {
    return Descriptor(open("/dev/tty", O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)).IsOpen();
}

// One that has hung up is none any more.
std::array<bool, 3> Terminals() {
    return {isatty(STDIN_FILENO) != 0, isatty(STDOUT_FILENO) != 0, isatty(STDERR_FILENO) != 0};
}

}  // namespace

HangupReason::HangupReason()
    : m_isIgnored(IsIgnored()), m_hasTerminal(HasControllingTerminal()), m_areTerminals(Terminals()) {}

bool HangupReason::IsEnd() const {
    if (m_isIgnored) return false;
    return (m_hasTerminal && !HasControllingTerminal()) || m_areTerminals != Terminals();
}

}  // namespace qxlt
