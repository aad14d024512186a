#include "Notifier.h"

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "Failure.h"

namespace qxlt {

Notifier::Notifier(const std::string& address) : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const bool isKnown = !address.empty() && (address.front() == '/' || address.front() == '@');
    if (!isKnown || address.size() >= sizeof m_address.sun_path) {
        throw Failure(kCannotStart, "NOTIFY_SOCKET=" + address + ": neither a path nor an @ and a name, or too long");
    }
    if (!m_socket.IsOpen()) throw Failure(kCannotStart, std::string("no socket: ") + std::strerror(errno));
    m_address.sun_family = AF_UNIX;
    std::memcpy(m_address.sun_path, address.data(), address.size());
    if (address.front() == '@') m_address.sun_path[0] = '\0';
    m_size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
}

bool Notifier::Send(const std::string& lines) const {
    const auto* const to = reinterpret_cast<const sockaddr*>(&m_address);
    return sendto(m_socket.Get(), lines.data(), lines.size(), MSG_DONTWAIT | MSG_NOSIGNAL, to, m_size) >= 0;
}

}  // namespace qxlt
