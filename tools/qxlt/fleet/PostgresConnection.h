// A PostgreSQL server's database.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ISqlConnection.h"

struct pg_conn;

namespace qxlt {

class PostgresConnection final : public ISqlConnection {
public:
    // "postgresql://...", as libpq reads it. Throws a Failure (cannot start) for an address that is none, and for one
    // with a password; what cannot be reached is met by the first statement.
    explicit PostgresConnection(const std::string& address);

    const SqlDialect& Dialect() const override;
    std::string RowsOfJson(const Columns& columns) const override;
    bool HasTable(const std::string& name) override;
    bool IsForeign() override { return false; }  // its tables have a schema of the user's choice; none is replaced
    std::vector<Row> Run(const std::string& statement, const std::vector<std::string>& parameters) override;
    void Rollback() override;

private:
    struct Closer {
        void operator()(pg_conn* connection) const;
    };

    void Connect();

    const std::string m_address;
    std::unique_ptr<pg_conn, Closer> m_connection;
};

}  // namespace qxlt
