// A live table of methods on the terminal.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "Descriptor.h"
#include "HeldMessages.h"
#include "MethodPage.h"

namespace qxlt {

// A thread of its own draws and reads keys, so that these are answered while nothing comes. What is written on standard
// error meanwhile stands on the screen, and on the terminal afterwards. There is one screen at a time.
class MethodScreen final {
public:
    // Null where there is no terminal to read from and to write to, or one of an unknown kind. `quit` is called by the
    // screen's thread when the user wants to end.
    static std::unique_ptr<MethodScreen> Open(const MethodPage& page, std::function<void()> quit);
    MethodScreen(const MethodScreen&) = delete;
    MethodScreen& operator=(const MethodScreen&) = delete;
    // Gives the terminal back as it was.
    ~MethodScreen();

    // Any thread.
    void Show(const MethodInterval& interval);

private:
    class Terminal;

    MethodScreen(std::unique_ptr<Terminal> terminal, const MethodPage& page, std::function<void()> quit);
    void Work();
    void Loop();
    bool Wait();
    bool TakeKeys();
    bool TakeMessages();
    void Wake() const;
    bool TakeNews();

    const std::function<void()> m_quit;
    HeldMessages m_messages;  // this and what follows is the screen's thread's while it runs; ends after the terminal
    const std::unique_ptr<Terminal> m_terminal;
    MethodPage m_page;
    std::string m_failure;
    bool m_hasKeys = true;    // until nobody can type any more
    const Descriptor m_wake;  // tells the thread that there is something new; any thread
    std::mutex m_mutex;
    std::optional<MethodInterval> m_next;  // guarded by m_mutex
    std::atomic<bool> m_ending{false};
    std::thread m_thread;  // last: it uses the others
};

}  // namespace qxlt
