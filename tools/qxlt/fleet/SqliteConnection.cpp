#include "SqliteConnection.h"

#include <sqlite3.h>

#include <utility>

#include "Failure.h"
#include "IFleetStore.h"

namespace qxlt {

namespace {

constexpr int kWaitMs = 2000;  // for another program that writes

// All is on the disk before a message is answered: WAL alone would keep a file whole, and lose its last transactions.
constexpr char kSetup[] = "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA trusted_schema = OFF;";

// What another value or another statement would not meet.
bool IsOfTheData(const SqliteError& error) {
    switch (error.Code()) {
        case SQLITE_ERROR:
        case SQLITE_TOOBIG:
        case SQLITE_CONSTRAINT:
        case SQLITE_MISMATCH:
        case SQLITE_RANGE:
            return true;
        default:
            return false;
    }
}

SqliteFile OpenedFile(const std::string& path) {
    try {
        SqliteFile file(path);
        sqlite3_busy_timeout(file.Get(), kWaitMs);
        file.Run(kSetup);
        return file;
    } catch (const SqliteError& error) {
        throw Failure(kCannotStart, path + ": " + error.what() + "; name a file of SQLite's, or one that can be made");
    }
}

ISqlConnection::Row RowOf(SqliteStatement& statement) {
    ISqlConnection::Row row;
    for (int i = 0; i < statement.Columns(); ++i) {
        row.push_back(statement.IsNull(i) ? std::nullopt : std::make_optional(std::string(statement.Text(i))));
    }
    return row;
}

}  // namespace

SqliteConnection::SqliteConnection(std::string path) : m_path(std::move(path)), m_file(OpenedFile(m_path)) {}

const SqlDialect& SqliteConnection::Dialect() const {
    static const SqlDialect dialect = {"BEGIN IMMEDIATE", "", "TEXT", "INTEGER", "TEXT", "TEXT"};
    return dialect;
}

std::string SqliteConnection::RowsOfJson(const Columns& columns) const {
    std::string picked;
    for (const auto& [name, type] : columns) {
        const bool isJson = name == "call" || name == "health";
        const std::string value = isJson ? "nullif(value -> '" + name + "', 'null')" : "value ->> '" + name + "'";
        picked.append(picked.empty() ? "" : ", ").append(value).append(" AS ").append(name);
    }
    return "(SELECT " + picked + " FROM json_each($1)) AS r";
}

bool SqliteConnection::HasTable(const std::string& name) {
    return !Run("SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = $1", {name}).empty();
}

bool SqliteConnection::IsForeign() {
    return !Run("SELECT 1 FROM sqlite_schema LIMIT 1", {}).empty();
}

std::vector<ISqlConnection::Row> SqliteConnection::Run(const std::string& statement,
                                                       const std::vector<std::string>& parameters) {
    try {
        SqliteStatement prepared(m_file.Get(), statement.c_str());
        int place = 0;
        for (const std::string& parameter : parameters) prepared.Bind(++place, parameter);
        std::vector<Row> rows;
        while (prepared.Step()) rows.push_back(RowOf(prepared));
        return rows;
    } catch (const SqliteError& error) {
        const std::string text = m_path + ": " + error.what();
        if (IsOfTheData(error)) throw DataRefused(text);
        throw StoreAway(text);
    }
}

// A statement that failed may have ended the transaction by itself.
void SqliteConnection::Rollback() {
    if (m_file.IsWithinTransaction()) sqlite3_exec(m_file.Get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

}  // namespace qxlt
