// What --publish and the options that belong to it ask of a live run.
#pragma once

#include <cstdint>
#include <string>

#include "BrokerOptions.h"
#include "CliFwd.h"

namespace qxlt {

struct PublishOptions {
    BrokerOptions broker;                    // without an address nothing is published
    std::string device;                      // what this one is called; empty: by the machine's id
    std::string outbox;                      // the file; empty: one by the device's name
    std::uint64_t outboxBytes = 64000000;    // of that file and what stands beside it
    double outboxSeconds = 7 * 24 * 3600.0;  // older events go
    double statusSeconds = 30;               // how often the status is published
    double waitSeconds = 5;                  // how long the end of the run waits for the broker

    bool IsWanted() const { return !broker.address.empty(); }
};

// Adds --publish and its options. `options` must live as long as the command.
void AddPublishOptions(CLI::App& command, PublishOptions& options);

}  // namespace qxlt
