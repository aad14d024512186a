#include "NotifySocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <utility>

NotifySocket::NotifySocket(std::string address)
    : m_address(std::move(address)), m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    if (m_address.size() >= sizeof name.sun_path) throw std::runtime_error(m_address + " is too long");
    std::memcpy(name.sun_path, m_address.data(), m_address.size());
    if (m_address.front() == '@') name.sun_path[0] = '\0';
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_address.size());
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&name), size) != 0) {
        throw std::runtime_error(m_address + ": " + std::strerror(errno));
    }
}

NotifySocket::~NotifySocket() {
    close(m_socket);
}

std::string NotifySocket::WaitFor(const std::string& text) {
    while (Receive(std::chrono::minutes(1))) {
        if (m_told.back().find(text) != std::string::npos) return m_told.back();
    }
    return {};
}

void NotifySocket::Take() {
    while (Receive(std::chrono::milliseconds(0))) {
    }
}

bool NotifySocket::FallsSilent(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < end) {
        if (!Receive(time)) return true;
    }
    return false;
}

bool NotifySocket::Receive(std::chrono::milliseconds limit) {
    pollfd source = {m_socket, POLLIN, 0};
    if (poll(&source, 1, static_cast<int>(limit.count())) <= 0) return false;
    char bytes[4096];
    const ssize_t size = recv(m_socket, bytes, sizeof bytes, 0);
    if (size < 0) return false;
    m_told.emplace_back(bytes, static_cast<std::size_t>(size));
    return true;
}
