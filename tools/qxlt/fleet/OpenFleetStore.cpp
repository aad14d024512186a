#include "IFleetStore.h"
#include "PostgresConnection.h"
#include "SqlFleetStore.h"
#include "SqliteConnection.h"

namespace qxlt {

namespace {

bool BeginsWith(const std::string& text, const std::string& begin) {
    return text.compare(0, begin.size(), begin) == 0;
}

}  // namespace

std::unique_ptr<IFleetStore> OpenFleetStore(const std::string& place, const std::string& client) {
    const bool isServer = BeginsWith(place, "postgresql://") || BeginsWith(place, "postgres://");
    std::unique_ptr<ISqlConnection> connection;
    if (isServer)
        connection = std::make_unique<PostgresConnection>(place);
    else
        connection = std::make_unique<SqliteConnection>(place);
    return std::make_unique<SqlFleetStore>(std::move(connection), isServer ? "the database" : place, client);
}

}  // namespace qxlt
