// A database in a file, or in memory.
#pragma once

#include <string>
#include <vector>

#include "ISqlConnection.h"
#include "Sqlite.h"

namespace qxlt {

class SqliteConnection final : public ISqlConnection {
public:
    // Opens the file, or makes it; ":memory:" is none. Throws a Failure (cannot start).
    explicit SqliteConnection(std::string path);

    const SqlDialect& Dialect() const override;
    std::string RowsOfJson(const Columns& columns) const override;
    bool HasTable(const std::string& name) override;
    bool IsForeign() override;
    std::vector<Row> Run(const std::string& statement, const std::vector<std::string>& parameters) override;
    void Rollback() override;

private:
    const std::string m_path;
    SqliteFile m_file;
};

}  // namespace qxlt
