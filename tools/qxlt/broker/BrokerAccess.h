// All that it takes to be let in by a broker: its address, and what its options name, read and checked.
#pragma once

#include <string>

#include "BrokerAddress.h"
#include "BrokerOptions.h"

namespace qxlt {

struct BrokerAccess {
    BrokerAddress address;
    std::string ca;  // files; empty: none, as in BrokerOptions
    std::string certificate;
    std::string key;
    std::string user;  // empty: none
    std::string password;
};

// Reads the options. Throws a Failure (cannot start) for an address that is none, files that cannot be read, options
// that only TLS has a use for, and credentials that others can read.
BrokerAccess ReadBrokerAccess(const BrokerOptions& options);

}  // namespace qxlt
