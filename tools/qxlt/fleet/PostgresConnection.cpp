#include "PostgresConnection.h"

#include <libpq-fe.h>

#include <cstring>

#include "Failure.h"
#include "IFleetStore.h"

namespace qxlt {

namespace {

struct ResultCloser {
    void operator()(PGresult* result) const { PQclear(result); }
};
using Result = std::unique_ptr<PGresult, ResultCloser>;

// Used where the address does not say otherwise. A server that does not answer is given up before the broker gives up
// this client; times are written and read in UTC.
constexpr const char* kKeys[] = {"connect_timeout",  "keepalives_idle",  "keepalives_interval",
                                 "keepalives_count", "tcp_user_timeout", "application_name",
                                 "client_encoding",  "dbname",           nullptr};
constexpr const char* kValues[] = {"5", "5", "5", "2", "10000", "qxlt fleet", "UTF8"};

// Messages of the library have several lines.
std::string OneLine(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    for (char& byte : text) {
        if (byte == '\n' || byte == '\t') byte = ' ';
    }
    return text;
}

// What the server calls the class of an error: values that are none, broken rules, and limits of a row.
bool IsOfTheData(const PGresult* result) {
    const char* const state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    if (state == nullptr) return false;
    for (const char* const kind : {"22", "23", "54"}) {
        if (std::strncmp(state, kind, 2) == 0) return true;
    }
    return false;
}

void CheckAddress(const std::string& address) {
    char* fault = nullptr;
    PQconninfoOption* const options = PQconninfoParse(address.c_str(), &fault);
    const std::string why = fault == nullptr ? "" : OneLine(fault);
    PQfreemem(fault);
    bool hasPassword = false;
    for (const PQconninfoOption* option = options; option != nullptr && option->keyword != nullptr; ++option) {
        hasPassword = hasPassword || (std::strcmp(option->keyword, "password") == 0 && option->val != nullptr);
    }
    const bool isNone = options == nullptr;
    PQconninfoFree(options);
    // Neither text has the address, which would show the password once more.
    if (isNone) throw Failure(kCannotStart, "--store is no database's address: " + why);
    if (hasPassword) {
        throw Failure(kCannotStart,
                      "others see the password that stands in an address; write it to ~/.pgpass, or name another file "
                      "in PGPASSFILE");
    }
}

}  // namespace

PostgresConnection::PostgresConnection(const std::string& address) : m_address(address) {
    CheckAddress(address);
}

void PostgresConnection::Closer::operator()(pg_conn* connection) const {
    PQfinish(connection);
}

void PostgresConnection::Connect() {
    const char* values[std::size(kKeys)] = {};
    std::copy(std::begin(kValues), std::end(kValues), values);
    values[std::size(kKeys) - 2] = m_address.c_str();
    m_connection.reset(PQconnectdbParams(kKeys, values, 1));
    if (PQstatus(m_connection.get()) != CONNECTION_OK) {
        const std::string why = OneLine(PQerrorMessage(m_connection.get()));
        m_connection.reset();
        throw StoreAway(why);
    }
    // Notices are no errors, and would stand on standard error.
    PQsetNoticeReceiver(
        m_connection.get(), [](void*, const PGresult*) {}, nullptr);
}

const SqlDialect& PostgresConnection::Dialect() const {
    static const SqlDialect dialect = {
        "BEGIN", "SELECT pg_advisory_xact_lock(5137004719)", "text", "bigint", "timestamptz", "jsonb"};
    return dialect;
}

std::string PostgresConnection::RowsOfJson(const Columns& columns) const {
    std::string typed;
    for (const auto& [name, type] : columns)
        typed.append(typed.empty() ? "" : ", ").append(name).append(" ").append(type);
    return "jsonb_to_recordset($1::jsonb) AS r(" + typed + ")";
}

bool PostgresConnection::HasTable(const std::string& name) {
    return !Run("SELECT 1 WHERE to_regclass($1) IS NOT NULL", {name}).empty();
}

// A connection that is lost in a transaction fails that transaction; the next one begins with a new one.
std::vector<ISqlConnection::Row> PostgresConnection::Run(const std::string& statement,
                                                         const std::vector<std::string>& parameters) {
    if (m_connection == nullptr) Connect();
    std::vector<const char*> values;
    values.reserve(parameters.size());
    for (const std::string& parameter : parameters) values.push_back(parameter.c_str());
    const Result result(PQexecParams(m_connection.get(), statement.c_str(), static_cast<int>(values.size()), nullptr,
                                     values.data(), nullptr, nullptr, 0));
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
        const std::string why = OneLine(PQerrorMessage(m_connection.get()));
        if (PQstatus(m_connection.get()) != CONNECTION_OK) m_connection.reset();
        if (IsOfTheData(result.get())) throw DataRefused(why);
        throw StoreAway(why);
    }
    std::vector<Row> rows(static_cast<std::size_t>(PQntuples(result.get())));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (int column = 0; column < PQnfields(result.get()); ++column) {
            const int row = static_cast<int>(i);
            const bool isNull = PQgetisnull(result.get(), row, column) != 0;
            rows[i].push_back(isNull ? std::nullopt
                                     : std::make_optional<std::string>(PQgetvalue(result.get(), row, column)));
        }
    }
    return rows;
}

void PostgresConnection::Rollback() {
    if (m_connection == nullptr) return;
    const Result result(PQexec(m_connection.get(), "ROLLBACK"));
    if (PQstatus(m_connection.get()) != CONNECTION_OK) m_connection.reset();
}

}  // namespace qxlt
