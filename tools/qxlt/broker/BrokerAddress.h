// Where a broker is, and under which topics this system's messages stand there.
#pragma once

#include <cstdint>
#include <string>

namespace qxlt {

struct BrokerAddress {
    bool isSecure;     // over TLS
    std::string user;  // empty: none was told
    std::string host;  // a name or an address, an IPv6 one without its brackets
    std::uint16_t port;
    std::string prefix;  // of the topics: one level or several, as it was written
};

// Reads "mqtt[s]://[USER@]HOST[:PORT]/PREFIX". Throws a Failure (cannot start) that says what is wrong with it.
BrokerAddress ReadBrokerAddress(const std::string& text);

// The same as text, without the user.
std::string BrokerText(const BrokerAddress& address);

}  // namespace qxlt
