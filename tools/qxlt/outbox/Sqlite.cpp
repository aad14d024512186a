#include "Sqlite.h"

namespace qxlt {

SqliteStatement::SqliteStatement(sqlite3* database, const char* text) {
    sqlite3_stmt* statement = nullptr;
    const int code = sqlite3_prepare_v3(database, text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    m_statement.reset(statement);
    if (code != SQLITE_OK) throw SqliteError(code, sqlite3_errmsg(database));
}

SqliteStatement& SqliteStatement::Bind(int place, std::int64_t number) {
    const int code = sqlite3_bind_int64(m_statement.get(), place, number);
    if (code != SQLITE_OK) Throw(code);
    return *this;
}

SqliteStatement& SqliteStatement::Bind(int place, std::string_view text) {
    const int code =
        sqlite3_bind_text64(m_statement.get(), place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
    if (code != SQLITE_OK) Throw(code);
    return *this;
}

bool SqliteStatement::Step() {
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) Throw(code);
    Reset();
    return false;
}

void SqliteStatement::Run() {
    while (Step()) {
    }
}

// What a failed step said is said by the reset once more.
void SqliteStatement::Reset() {
    sqlite3_reset(m_statement.get());
}

std::string_view SqliteStatement::Text(int column) {
    const void* const text = sqlite3_column_blob(m_statement.get(), column);
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return text == nullptr ? std::string_view()
                           : std::string_view(static_cast<const char*>(text), static_cast<std::size_t>(size));
}

void SqliteStatement::Throw(int code) {
    const std::string text = sqlite3_errmsg(sqlite3_db_handle(m_statement.get()));
    Reset();
    throw SqliteError(code, text);
}

SqliteFile::SqliteFile(const std::string& path) {
    sqlite3* database = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int code = sqlite3_open_v2(path.c_str(), &database, flags, nullptr);
    m_database.reset(database);
    if (code != SQLITE_OK) throw SqliteError(code, database == nullptr ? "out of memory" : sqlite3_errmsg(database));
}

void SqliteFile::Run(const std::string& text) {
    const int code = sqlite3_exec(Get(), text.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) throw SqliteError(code, sqlite3_errmsg(Get()));
}

std::int64_t SqliteFile::Number(const char* text) {
    SqliteStatement statement(Get(), text);
    return statement.Step() ? statement.Number(0) : 0;
}

// An error may have undone everything already.
SqliteTransaction::~SqliteTransaction() {
    if (!m_committed) sqlite3_exec(m_file.Get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteTransaction::Commit() {
    m_file.Run("COMMIT");
    m_committed = true;
}

}  // namespace qxlt
