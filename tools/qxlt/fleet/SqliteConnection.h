// A database in a file, or in memory.
#pragma once

#include <string>
#include <vector>

#include "ISqlConnection.h"

struct sqlite3;

namespace qxlt {

class SqliteConnection final : public ISqlConnection {
public:
    // Opens the file, or makes it; ":memory:" is none. Throws a Failure (cannot start).
    explicit SqliteConnection(std::string path);
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;
    ~SqliteConnection() override;

    const SqlDialect& Dialect() const override;
    std::string RowsOfJson(const Columns& columns) const override;
    bool HasTable(const std::string& name) override;
    bool IsForeign() override;
    std::vector<Row> Run(const std::string& statement, const std::vector<std::string>& parameters) override;
    void Rollback() override;

private:
    class Statement;

    [[noreturn]] void Fail(int code) const;

    const std::string m_path;
    sqlite3* m_database = nullptr;
};

}  // namespace qxlt
