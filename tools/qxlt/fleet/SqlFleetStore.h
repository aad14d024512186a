// The tables of a store, in whichever database: `events` is what people ask for, `devices` how each device is, `gaps`
// what did not come, `runs` how far each receiver is.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "IFleetStore.h"
#include "ISqlConnection.h"

namespace qxlt {

class SqlFleetStore final : public IFleetStore {
public:
    // Makes the tables where there are none. `place` is what the user calls the database. Throws a Failure (cannot
    // start), also for tables of a version that is not known.
    SqlFleetStore(std::unique_ptr<ISqlConnection> connection, std::string place, std::string client);

    std::optional<FleetDevice> Load(const std::string& device) override;
    std::size_t Write(const FleetBatch& batch) override;

private:
    void Prepare();
    void MakeTables();
    void LoadStatus(FleetDevice& device);
    void LoadGaps(FleetDevice& device, std::vector<RunNumbers::Kept>& numbers);
    std::size_t WriteEvents(const FleetBatch& batch);
    bool TryEvents(const std::string& rows);
    void WriteDevices(const FleetBatch& batch);

    const std::unique_ptr<ISqlConnection> m_connection;
    const std::string m_place;
    const std::string m_client;
};

}  // namespace qxlt
