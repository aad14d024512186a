#include "Output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "Messages.h"
#include "Terminal.h"

namespace qxlt {

namespace {

constexpr int kNowhere = -1;

// Whoever shares the descriptor may have made it one that does not wait.
void WaitForRoom() {
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    poll(&output, 1, -1);
}

}  // namespace

// A closed pipe is met as an error of the write, not as a signal.
Output::Output(Progress* progress, ILineSink* sink)
    : m_progress(progress),
      m_sink(sink),
      m_colors(sink == nullptr ? STDOUT_FILENO : kNowhere),
      m_onEnd([](ExitStatus status) { std::_Exit(status); }) {
    std::signal(SIGPIPE, SIG_IGN);
}

bool Output::IsTerminal() const {
    return m_sink == nullptr && isatty(STDOUT_FILENO) != 0;
}

std::size_t Output::Width() const {
    return m_sink == nullptr ? TerminalWidth(STDOUT_FILENO) : 0;
}

void Output::Line(std::string text, const LineFields& fields) {
    if (m_sink != nullptr) return m_sink->Write(text, fields);
    if (m_ended) return;
    if (m_progress != nullptr) m_progress->Wipe();
    text += '\n';
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(STDOUT_FILENO, text.data() + written, text.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            WaitForRoom();
        } else if (errno != EINTR) {
            return End(errno);
        }
    }
}

void Output::End(int error) {
    m_ended = true;
    if (error == EPIPE) return m_onEnd(m_status);
    PrintError(std::string("standard output: ") + std::strerror(error) + "; results are lost");
    m_onEnd(kInputWrong);
}

}  // namespace qxlt
