#include "MethodScreen.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

// Names that are as common as these are no macros.
#define NCURSES_NOMACROS
#include <curses.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <system_error>
#include <utility>

#include "Messages.h"
#include "TerminalKind.h"

namespace qxlt {

namespace {

constexpr int kLookMs = 200;  // how often the size of the terminal is asked for

int OpenWake() {
    const int descriptor = eventfd(0, EFD_CLOEXEC);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return descriptor;
}

// While it lives, the signal does nothing. A handler of the terminal's library would run in whichever thread is there.
class IgnoredSignal final {
public:
    explicit IgnoredSignal(int number) : m_number(number), m_before(std::signal(number, SIG_IGN)) {}
    IgnoredSignal(const IgnoredSignal&) = delete;
    IgnoredSignal& operator=(const IgnoredSignal&) = delete;
    ~IgnoredSignal() { std::signal(m_number, m_before); }

    // Once more, where somebody has set a handler since.
    void Renew() const { std::signal(m_number, SIG_IGN); }

private:
    const int m_number;
    void (*const m_before)(int);
};

}  // namespace

// The one owner of the terminal while a screen stands on it. Texts are UTF-8, whatever the user's settings are, as
// everywhere in this tool.
class MethodScreen::Terminal final {
public:
    static std::unique_ptr<Terminal> Open() {
        if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0 || !CanDraw()) return nullptr;
        std::setlocale(LC_CTYPE, "C.UTF-8");
        auto terminal = std::unique_ptr<Terminal>(new Terminal);
        return terminal->m_screen == nullptr ? nullptr : std::move(terminal);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        if (m_screen == nullptr) return;
        endwin();
        delscreen(m_screen);
    }

    // Takes over the terminal's size; whether it has changed.
    static bool Fit() {
        winsize size{};
        if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) return false;
        return is_term_resized(size.ws_row, size.ws_col) && resizeterm(size.ws_row, size.ws_col) == OK;
    }

    // A key that was typed; below 0: none was.
    static int Key() { return getch(); }

    static void Draw(const MethodPage& page, bool anew) {
        const std::vector<std::string> lines =
            page.Lines(static_cast<std::size_t>(getmaxx(stdscr)), static_cast<std::size_t>(getmaxy(stdscr)));
        erase();
        for (std::size_t i = 0; i < lines.size(); ++i) {
            attrset(i == MethodPage::kTitleLine ? A_REVERSE : A_NORMAL);
            mvaddstr(static_cast<int>(i), 0, lines[i].c_str());
        }
        attrset(A_NORMAL);
        if (anew) redrawwin(stdscr);
        refresh();
    }

private:
    Terminal() : m_screen(newterm(nullptr, stdout, stdin)) {
        m_resize.Renew();  // the library handles this one also where it is ignored
        if (m_screen == nullptr) return;
        cbreak();
        noecho();
        curs_set(0);
        nodelay(stdscr, true);
    }

    const IgnoredSignal m_stop{SIGTSTP};
    const IgnoredSignal m_resize{SIGWINCH};
    SCREEN* const m_screen;
};

std::unique_ptr<MethodScreen> MethodScreen::Open(const MethodPage& page, std::function<void()> quit) {
    std::unique_ptr<Terminal> terminal = Terminal::Open();
    if (terminal == nullptr) return nullptr;
    return std::unique_ptr<MethodScreen>(new MethodScreen(std::move(terminal), page, std::move(quit)));
}

MethodScreen::MethodScreen(std::unique_ptr<Terminal> terminal, const MethodPage& page, std::function<void()> quit)
    : m_quit(std::move(quit)), m_terminal(std::move(terminal)), m_page(page), m_wake(OpenWake()), m_thread([this] {
          Work();
      }) {}

MethodScreen::~MethodScreen() {
    m_ending = true;
    Wake();
    m_thread.join();
    if (!m_failure.empty()) PrintError("the screen ended: " + m_failure);
}

void MethodScreen::Wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_wake.Get(), &one, sizeof one);
}

void MethodScreen::Show(const MethodInterval& interval) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_next = interval;
    }
    Wake();
}

// Nothing is thrown out of a thread: what ends this one is told when it is joined.
void MethodScreen::Work() {
    try {
        Loop();
    } catch (const std::exception& error) {
        m_failure = error.what();
        m_quit();
    }
}

// What a key changes is drawn anew from the ground: something else may have written there.
void MethodScreen::Loop() {
    Terminal::Draw(m_page, true);
    while (!m_ending) {
        const bool hasInput = Wait();
        const bool isPressed = hasInput && TakeKeys();
        const bool isResized = Terminal::Fit();
        const bool isNew = TakeNews();
        const bool isTold = TakeMessages();
        if (isPressed || isResized || isNew || isTold) Terminal::Draw(m_page, isPressed || isResized);
    }
}

// Until there is something to do, or the terminal's size is to be looked at. Returns whether keys were typed.
bool MethodScreen::Wait() {
    pollfd sources[] = {
        {m_hasKeys ? STDIN_FILENO : -1, POLLIN, 0}, {m_wake.Get(), POLLIN, 0}, {m_messages.Source(), POLLIN, 0}};
    if (poll(sources, 3, kLookMs) <= 0) return false;
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = sources[1].revents == 0 ? 0 : read(m_wake.Get(), &count, sizeof count);
    if ((sources[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) m_hasKeys = false;
    return sources[0].revents != 0;
}

bool MethodScreen::TakeKeys() {
    bool isChanged = !m_hasKeys;
    if (!m_hasKeys) m_quit();
    for (int key = Terminal::Key(); key >= 0; key = Terminal::Key()) {
        const MethodPage::Answer answer = m_page.Press(key);
        if (answer == MethodPage::Answer::Quit) m_quit();
        isChanged = isChanged || answer == MethodPage::Answer::Changed;
    }
    return isChanged;
}

bool MethodScreen::TakeNews() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_next) return false;
    m_page.Show(std::move(*m_next));
    m_next.reset();
    return true;
}

bool MethodScreen::TakeMessages() {
    if (m_messages.Source() < 0) return false;
    const std::vector<std::string> lines = m_messages.Read();
    for (const std::string& line : lines) m_page.AddMessage(line);
    return !lines.empty();
}

}  // namespace qxlt
