// Tells the service manager that started the program how far it is, in its notify protocol: datagrams of lines
// NAME=VALUE to a socket that the environment names. Nothing else is needed for that, no library either.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <string>

#include "Descriptor.h"

namespace qxlt {

class Notifier final {
public:
    // `address` is a path, or a name of the abstract kind behind an @. Throws a Failure (cannot start) for others.
    explicit Notifier(const std::string& address);

    // Never waits. False when the datagram did not go: nobody listens, or the other side has not come to read those
    // before.
    bool Send(const std::string& lines) const;

private:
    struct sockaddr_un m_address {};
    socklen_t m_size = 0;
    const Descriptor m_socket;
};

}  // namespace qxlt
