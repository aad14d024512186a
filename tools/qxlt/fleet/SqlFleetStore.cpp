#include "SqlFleetStore.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "Failure.h"
#include "Json.h"
#include "JsonLine.h"
#include "StoreText.h"
#include "WallTime.h"

namespace qxlt {

namespace {

using Columns = ISqlConnection::Columns;
using Row = ISqlConnection::Row;

Columns EventColumns(const SqlDialect& is) {
    return {{"device", is.text}, {"id", is.text},         {"time", is.time}, {"event", is.text},
            {"value", is.text},  {"duration", is.number}, {"call", is.json}, {"received", is.time}};
}

Columns DeviceColumns(const SqlDialect& is) {
    return {{"device", is.text},    {"state", is.text},   {"boot", is.text},      {"run", is.text},
            {"time", is.time},      {"taken", is.number}, {"waiting", is.number}, {"dropped", is.number},
            {"missing", is.number}, {"health", is.json},  {"heard", is.time}};
}

Columns RunColumns(const SqlDialect& is) {
    return {{"client", is.text}, {"device", is.text},  {"boot", is.text},   {"run", is.text},  {"taken", is.number},
            {"next", is.number}, {"floor", is.number}, {"lost", is.number}, {"heard", is.time}};
}

Columns GapColumns(const SqlDialect& is) {
    return {{"client", is.text},  {"device", is.text}, {"boot", is.text}, {"run", is.text},
            {"first", is.number}, {"last", is.number}, {"state", is.text}};
}

std::string NamesOf(const Columns& columns) {
    std::string names;
    for (const auto& [name, type] : columns) names += (names.empty() ? "" : ", ") + name;
    return names;
}

// What may be unknown of an event or a device; all else is always there.
bool IsOptional(const std::string& name, bool isDevice) {
    return name == "time" || name == "duration" || name == "call" || (isDevice && name != "device" && name != "heard");
}

std::string TableText(const std::string& name, const Columns& columns, const std::string& key) {
    std::string text = "CREATE TABLE " + name + "(";
    for (const auto& [column, type] : columns) {
        const bool isOptional = IsOptional(column, name == "devices");
        text.append(column).append(" ").append(type).append(isOptional ? "" : " NOT NULL").append(", ");
    }
    return text + key + ")";
}

// The questions that docs/fleet.md answers are asked of these.
constexpr const char* kIndices[] = {
    "CREATE INDEX events_device_time ON events(device, time)",
    "CREATE INDEX events_event_device_time ON events(event, device, time)",
    "CREATE INDEX events_duration ON events(duration) WHERE duration IS NOT NULL",
    "CREATE INDEX devices_state ON devices(state)",
    "CREATE INDEX gaps_state ON gaps(state, device)",
};

std::uint64_t NumberOf(const std::optional<std::string>& text) {
    std::uint64_t number = 0;
    if (text) std::from_chars(text->data(), text->data() + text->size(), number);
    return number;
}

// A number that cannot be one of a message's counts as none.
std::uint64_t CountOf(const std::optional<std::string>& text) {
    return std::min(NumberOf(text), kMostNumber + 1);
}

std::uint64_t Stored(std::uint64_t number) {
    return std::min<std::uint64_t>(number, INT64_MAX);
}

void AddTime(JsonLine& line, const char* key, std::optional<std::uint64_t> time) {
    if (time)
        line.AddText(key, WallText(*time));
    else
        line.AddNull(key);
}

void AddEvent(JsonLine& list, const FleetEvent& event, std::uint64_t received) {
    list.BeginObject();
    list.AddText("device", StoredText(event.origin.device));
    list.AddText("id", event.id);
    AddTime(list, "time", event.time);
    list.AddText("event", StoredText(event.event));
    list.AddText("value", StoredText(event.value));
    if (event.duration)
        list.Add("duration", *event.duration);
    else
        list.AddNull("duration");
    list.AddJson("call", StoredJson(*event.call));
    AddTime(list, "received", received);
    list.EndObject();
}

void AddDevice(JsonLine& list, const FleetDevice& device, std::uint64_t received) {
    list.BeginObject();
    list.AddText("device", StoredText(device.name));
    if (device.status) {
        const FleetStatus& status = *device.status;
        list.AddText("state", TextOf(status.state));
        list.AddText("boot", status.origin.boot);
        list.AddText("run", status.origin.run);
        AddTime(list, "time", status.time);
        list.Add("taken", status.taken);
        list.Add("waiting", status.waiting);
        list.Add("dropped", status.dropped);
    }
    list.Add("missing", Stored(device.Missing()));
    list.AddJson("health", !device.status || device.status->health.empty() ? "null" : device.status->health);
    AddTime(list, "heard", received);
    list.EndObject();
}

void AddOrigin(JsonLine& list, const std::string& client, const FleetDevice& device, const FleetRun& run) {
    list.AddText("client", client);
    list.AddText("device", StoredText(device.name));
    list.AddText("boot", run.boot);
    list.AddText("run", run.run);
}

void AddRun(JsonLine& list, const std::string& client, const FleetDevice& device, const FleetRun& run,
            std::uint64_t received) {
    const RunNumbers::Kept kept = run.numbers.Keep();
    list.BeginObject();
    AddOrigin(list, client, device, run);
    list.Add("taken", run.taken);
    list.Add("next", kept.next);
    list.Add("floor", kept.floor);
    list.Add("lost", Stored(kept.lost));
    AddTime(list, "heard", received);
    list.EndObject();
}

// What may still come is "late", until it has been told as "missing".
const char* StateOf(const RunNumbers::Gap& gap) {
    if (gap.kind == RunNumbers::Kind::Dropped) return "dropped";
    return gap.told ? "missing" : "late";
}

void AddGaps(JsonLine& list, const std::string& client, const FleetDevice& device, const FleetRun& run) {
    for (const auto& [first, gap] : run.numbers.Keep().gaps) {
        list.BeginObject();
        AddOrigin(list, client, device, run);
        list.Add("first", first);
        list.Add("last", gap.last);
        list.AddText("state", StateOf(gap));
        list.EndObject();
    }
}

// The text of a list that `fill` adds the items to.
template <typename Fill>
std::string ListText(Fill fill) {
    JsonLine line;
    line.BeginList("r");
    fill(line);
    line.EndList();
    const std::string text = std::move(line).Finish();
    constexpr std::size_t kBefore = sizeof("{\"r\":") - 1;
    return text.substr(kBefore, text.size() - kBefore - 1);
}

// What is written over a row that is there. The health of a device is told now and then, and kept in between.
std::string NewValue(const std::string& table, const std::string& column) {
    const std::string written = "excluded." + column;
    return column == "health" ? "coalesce(" + written + ", " + table + "." + column + ")" : written;
}

std::string Upsert(const std::string& table, const Columns& columns, const std::string& rows, const std::string& key) {
    std::string text = "INSERT INTO " + table + "(" + NamesOf(columns) + ") SELECT " + NamesOf(columns) + " FROM " +
                       rows + " WHERE true ON CONFLICT(" + key + ") DO UPDATE SET ";
    for (const auto& column : columns) {
        text += (&column == &columns.front() ? "" : ", ") + column.first + " = " + NewValue(table, column.first);
    }
    return text;
}

// One transaction: unless Commit is reached, nothing of it happens.
class Transaction final {
public:
    explicit Transaction(ISqlConnection& connection) : m_connection(connection) {
        connection.Run(connection.Dialect().begin);
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction() {
        if (!m_isDone) m_connection.Rollback();
    }
    void Commit() {
        m_connection.Run("COMMIT");
        m_isDone = true;
    }

private:
    ISqlConnection& m_connection;
    bool m_isDone = false;
};

}  // namespace

SqlFleetStore::SqlFleetStore(std::unique_ptr<ISqlConnection> connection, std::string place, std::string client)
    : m_connection(std::move(connection)), m_place(std::move(place)), m_client(std::move(client)) {
    try {
        Prepare();
    } catch (const Failure&) {
        throw;
    } catch (const std::exception& error) {
        throw Failure(kCannotStart, error.what());
    }
}

void SqlFleetStore::Prepare() {
    Transaction transaction(*m_connection);
    if (!m_connection->Dialect().lock.empty()) m_connection->Run(m_connection->Dialect().lock);
    if (!m_connection->HasTable("fleet")) {
        if (m_connection->IsForeign()) {
            throw Failure(kCannotStart, m_place + ": it holds tables of something else; name a store of its own");
        }
        MakeTables();
    }
    const std::vector<Row> versions = m_connection->Run("SELECT version FROM fleet");
    const std::uint64_t version = versions.empty() || versions.front().empty() ? 0 : NumberOf(versions.front().front());
    if (version != kVersion) {
        throw Failure(kCannotStart, m_place + ": its tables have version " + std::to_string(version) +
                                        ", and this program knows " + std::to_string(kVersion) +
                                        "; use the qxlt that made them, or name another store");
    }
    transaction.Commit();
}

void SqlFleetStore::MakeTables() {
    const SqlDialect& is = m_connection->Dialect();
    m_connection->Run("CREATE TABLE fleet(version " + is.number + " NOT NULL)");
    m_connection->Run("INSERT INTO fleet(version) VALUES(" + std::to_string(kVersion) + ")");
    m_connection->Run(TableText("events", EventColumns(is), "UNIQUE(id)"));
    m_connection->Run(TableText("devices", DeviceColumns(is), "PRIMARY KEY(device)"));
    m_connection->Run(TableText("runs", RunColumns(is), "PRIMARY KEY(client, device, boot, run)"));
    m_connection->Run(TableText("gaps", GapColumns(is), "PRIMARY KEY(client, device, boot, run, first)"));
    for (const char* const index : kIndices) m_connection->Run(index);
}

std::optional<FleetDevice> SqlFleetStore::Load(const std::string& name) {
    const std::vector<Row> rows = m_connection->Run(
        "SELECT boot, run, taken, next, floor, lost FROM runs WHERE client = $1 AND device = $2 "
        "ORDER BY heard DESC LIMIT " +
            std::to_string(FleetAccount::kMostRuns),
        {m_client, StoredText(name)});
    if (rows.empty()) return std::nullopt;
    FleetDevice device;
    device.name = name;
    std::vector<RunNumbers::Kept> numbers;
    for (const Row& row : rows) {
        device.runs.push_back({row[0].value_or(""), row[1].value_or(""), CountOf(row[2]), RunNumbers(1), false});
        const std::uint64_t next = std::max<std::uint64_t>(CountOf(row[3]), 1);
        numbers.push_back({next, CountOf(row[4]), NumberOf(row[5]), {}});
    }
    LoadGaps(device, numbers);
    LoadStatus(device);
    return device;
}

// Those that were not told so far count as told long ago when they are looked at.
void SqlFleetStore::LoadGaps(FleetDevice& device, std::vector<RunNumbers::Kept>& numbers) {
    const std::vector<Row> rows =
        m_connection->Run("SELECT boot, run, first, last, state FROM gaps WHERE client = $1 AND device = $2 LIMIT " +
                              std::to_string(FleetAccount::kMostRuns * RunNumbers::kMostGaps),
                          {m_client, StoredText(device.name)});
    for (const Row& row : rows) {
        std::size_t place = 0;
        for (const FleetRun& run : device.runs) {
            if (run.boot == row[0] && run.run == row[1]) break;
            ++place;
        }
        if (place == numbers.size()) continue;
        const auto kind = row[4] == "dropped" ? RunNumbers::Kind::Dropped : RunNumbers::Kind::Missing;
        numbers[place].gaps[CountOf(row[2])] = {CountOf(row[3]), kind, row[4] != "late", RunNumbers::Time()};
    }
    std::size_t place = 0;
    for (FleetRun& run : device.runs) run.numbers = RunNumbers(numbers[place++]);
}

void SqlFleetStore::LoadStatus(FleetDevice& device) {
    const std::vector<Row> rows = m_connection->Run(
        "SELECT state, boot, run, taken, waiting, dropped FROM devices WHERE device = $1", {StoredText(device.name)});
    if (rows.empty()) return;
    const Row& row = rows.front();
    const std::optional<DeviceState> state = ReadDeviceState(row[0].value_or(""));
    if (!state) return;
    FleetStatus& status = device.status.emplace();
    status.origin = {device.name, row[1].value_or(""), row[2].value_or("")};
    status.state = *state;
    status.taken = CountOf(row[3]);
    status.waiting = CountOf(row[4]);
    status.dropped = CountOf(row[5]);
}

std::size_t SqlFleetStore::Write(const FleetBatch& batch) {
    try {
        Transaction transaction(*m_connection);
        const std::size_t refused = WriteEvents(batch);
        WriteDevices(batch);
        transaction.Commit();
        return refused;
    } catch (const DataRefused& error) {
        throw StoreAway(error.what());
    }
}

// Whether the database took them. One that it does not take fails them all.
bool SqlFleetStore::TryEvents(const std::string& rows) {
    const Columns columns = EventColumns(m_connection->Dialect());
    m_connection->Run("SAVEPOINT events");
    try {
        m_connection->Run("INSERT INTO events(" + NamesOf(columns) + ") SELECT " + NamesOf(columns) + " FROM " +
                              m_connection->RowsOfJson(columns) + " WHERE true ON CONFLICT(id) DO NOTHING",
                          {rows});
    } catch (const DataRefused&) {
        m_connection->Run("ROLLBACK TO SAVEPOINT events");
        return false;
    }
    m_connection->Run("RELEASE SAVEPOINT events");
    return true;
}

std::size_t SqlFleetStore::WriteEvents(const FleetBatch& batch) {
    const auto all = [&batch](JsonLine& list) {
        for (const FleetEvent* const event : batch.events) AddEvent(list, *event, batch.received);
    };
    if (batch.events.empty() || TryEvents(ListText(all))) return 0;
    std::size_t refused = 0;
    for (const FleetEvent* const event : batch.events) {
        const auto one = [&](JsonLine& list) { AddEvent(list, *event, batch.received); };
        if (!TryEvents(ListText(one))) ++refused;
    }
    return refused;
}

void SqlFleetStore::WriteDevices(const FleetBatch& batch) {
    if (batch.devices.empty()) return;
    const auto forEachRun = [&batch](const auto& add) {
        for (const FleetDevice* const device : batch.devices) {
            for (const FleetRun& run : device->runs) {
                if (run.changed) add(*device, run);
            }
        }
    };
    const std::string devices = ListText([&](JsonLine& list) {
        for (const FleetDevice* const device : batch.devices) AddDevice(list, *device, batch.received);
    });
    const std::string runs = ListText([&](JsonLine& list) {
        forEachRun([&](const FleetDevice& device, const FleetRun& run) {
            AddRun(list, m_client, device, run, batch.received);
        });
    });
    const std::string gaps = ListText([&](JsonLine& list) {
        forEachRun([&](const FleetDevice& device, const FleetRun& run) { AddGaps(list, m_client, device, run); });
    });
    ISqlConnection& to = *m_connection;
    const SqlDialect& is = to.Dialect();
    const std::string runRows = to.RowsOfJson(RunColumns(is));
    to.Run(Upsert("devices", DeviceColumns(is), to.RowsOfJson(DeviceColumns(is)), "device"), {devices});
    to.Run(Upsert("runs", RunColumns(is), runRows, "client, device, boot, run"), {runs});
    to.Run(
        "DELETE FROM gaps WHERE (client, device, boot, run) IN (SELECT client, device, boot, run FROM " + runRows + ")",
        {runs});
    if (gaps == "[]") return;
    const Columns columns = GapColumns(is);
    to.Run("INSERT INTO gaps(" + NamesOf(columns) + ") SELECT " + NamesOf(columns) + " FROM " + to.RowsOfJson(columns) +
               " WHERE true",
           {gaps});
}

}  // namespace qxlt
