// The options that say how a broker is reached: the same for whoever publishes to it and whoever reads from it.
#pragma once

#include <string>

#include "CliFwd.h"

namespace qxlt {

struct BrokerOptions {
    std::string address;      // mqtt[s]://[USER@]HOST[:PORT]/PREFIX
    std::string ca;           // a file with the authorities that are trusted; empty: the system's
    std::string certificate;  // of this client, and
    std::string key;          // its private key; empty: it shows none
    std::string credentials;  // a file with user and password; empty: there are none
};

// Adds --ca, --cert, --key and --credentials; the address is each command's own. `options` must live as long as the
// command.
void AddBrokerOptions(CLI::App& command, BrokerOptions& options);

}  // namespace qxlt
