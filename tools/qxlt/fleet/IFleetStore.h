// Where events of devices are kept, and with them what came and what did not: so a receiver that is started again goes
// on where it was.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "FleetAccount.h"
#include "FleetMessage.h"

namespace qxlt {

// It cannot be reached now, or takes nothing: its text says which and why. What was to be written was not.
class StoreAway : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct FleetBatch {
    std::uint64_t received;  // when, in nanoseconds since 1970
    std::vector<const FleetEvent*> events;
    std::vector<const FleetDevice*> devices;  // of their runs, those that changed
};

// One thread at a time.
class IFleetStore {
public:
    // The version of the tables that this program makes and knows.
    static constexpr int kVersion = 1;

    virtual ~IFleetStore() = default;

    // What it has of a device that this client has received from; nothing when there is none. Throws StoreAway.
    virtual std::optional<FleetDevice> Load(const std::string& device) = 0;

    // Keeps all of it, or nothing. An event that is kept already stays as it is. Returns how many events the database
    // refused for what they hold. Throws StoreAway.
    virtual std::size_t Write(const FleetBatch& batch) = 0;
};

// Opens what `--store` names: a file, or "postgresql://...". Makes its tables where there are none. `client` is the
// receiver's name: each keeps its own account. Throws a Failure (cannot start).
std::unique_ptr<IFleetStore> OpenFleetStore(const std::string& place, const std::string& client);

}  // namespace qxlt
