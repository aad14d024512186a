#include "Wakeup.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include "Interruption.h"

namespace qxlt {

Wakeup::Wakeup(Interruption& interruption, std::function<void()> handler)
    : m_calls(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!m_calls.IsOpen()) throw std::system_error(errno, std::generic_category(), "eventfd");
    interruption.Watch(m_calls.Get(), [file = m_calls.Get(), handler = std::move(handler)] {
        std::uint64_t calls = 0;
        if (read(file, &calls, sizeof calls) == static_cast<ssize_t>(sizeof calls)) handler();
    });
}

void Wakeup::Call() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_calls.Get(), &one, sizeof one);
}

}  // namespace qxlt
