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
bool IsOfTheData(int code) {
    switch (code & 0xFF) {
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

}  // namespace

class SqliteConnection::Statement final {
public:
    Statement(const SqliteConnection& owner, const std::string& text) : m_owner(owner) {
        const int code =
            sqlite3_prepare_v2(owner.m_database, text.data(), static_cast<int>(text.size()), &m_statement, nullptr);
        if (code != SQLITE_OK) owner.Fail(code);
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement() { sqlite3_finalize(m_statement); }

    // The text must outlive the statement.
    void Bind(int place, const std::string& text) {
        const int code = sqlite3_bind_text64(m_statement, place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
        if (code != SQLITE_OK) m_owner.Fail(code);
    }

    // Whether there is one more row.
    bool Step() {
        const int code = sqlite3_step(m_statement);
        if (code != SQLITE_ROW && code != SQLITE_DONE) m_owner.Fail(code);
        return code == SQLITE_ROW;
    }

    Row Columns() const {
        Row row;
        for (int i = 0; i < sqlite3_column_count(m_statement); ++i) {
            const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, i));
            const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, i));
            row.push_back(text == nullptr ? std::nullopt : std::make_optional(std::string(text, size)));
        }
        return row;
    }

private:
    const SqliteConnection& m_owner;
    sqlite3_stmt* m_statement = nullptr;
};

SqliteConnection::SqliteConnection(std::string path) : m_path(std::move(path)) {
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    int code = sqlite3_open_v2(m_path.c_str(), &m_database, kFlags, nullptr);
    if (code == SQLITE_OK) {
        sqlite3_busy_timeout(m_database, kWaitMs);
        code = sqlite3_exec(m_database, kSetup, nullptr, nullptr, nullptr);
    }
    if (code == SQLITE_OK) return;
    const std::string why = m_database == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(m_database);
    sqlite3_close(m_database);
    throw Failure(kCannotStart, m_path + ": " + why + "; name a file of SQLite's, or one that can be made");
}

SqliteConnection::~SqliteConnection() {
    sqlite3_close(m_database);
}

void SqliteConnection::Fail(int code) const {
    const std::string text = m_path + ": " + sqlite3_errmsg(m_database);
    if (IsOfTheData(code)) throw DataRefused(text);
    throw StoreAway(text);
}

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
    Statement prepared(*this, statement);
    int place = 0;
    for (const std::string& parameter : parameters) prepared.Bind(++place, parameter);
    std::vector<Row> rows;
    while (prepared.Step()) rows.push_back(prepared.Columns());
    return rows;
}

// A statement that failed may have ended the transaction by itself.
void SqliteConnection::Rollback() {
    if (sqlite3_get_autocommit(m_database) == 0) sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
}

}  // namespace qxlt
