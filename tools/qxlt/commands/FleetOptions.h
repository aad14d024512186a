// What `qxlt fleet` is asked for.
#pragma once

#include <string>
#include <vector>

#include "BrokerOptions.h"

namespace qxlt {

struct FleetOptions {
    BrokerOptions broker;
    std::vector<std::string> devices;  // patterns as those of a shell; none: all
    std::vector<std::string> events;
    std::string store;         // a file, or a database's address; empty: nothing is stored
    std::string client;        // under which the broker keeps what comes meanwhile; empty: one is made
    double graceSeconds = 10;  // how long a number may be late before it is missing
    double seconds = 0;        // end after this time; 0: never
    bool top = false;          // a table in the place of lines
    double everySeconds = 1;   // how often it is shown

    // What comes while nobody receives is to come later.
    bool IsLasting() const { return !store.empty() || !client.empty(); }
};

}  // namespace qxlt
