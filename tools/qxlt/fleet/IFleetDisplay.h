// Where goes what devices say.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

#include "FleetAccount.h"
#include "FleetMessage.h"

namespace qxlt {

// What was not taken, and why.
struct RefusedMessages {
    std::map<std::string, std::uint64_t> counts;  // by the reason
    std::uint64_t All() const {
        std::uint64_t all = 0;
        for (const auto& [reason, count] : counts) all += count;
        return all;
    }
};

// One thread.
class IFleetDisplay {
public:
    using Time = std::chrono::steady_clock::time_point;

    virtual ~IFleetDisplay() = default;

    virtual void Show(const FleetEvent& event) = 0;
    virtual void Show(const FleetNews& news) = 0;

    // Time passes: called at least each second.
    virtual void Tick(Time /*now*/) {}

    // Nothing more comes. This is what came.
    virtual void Finish(const FleetAccount& account, const RefusedMessages& refused) = 0;
};

}  // namespace qxlt
