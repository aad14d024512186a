// A database file of SQLite and its statements, as values that free themselves.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qxlt {

class SqliteError : public std::runtime_error {
public:
    SqliteError(int code, const std::string& text) : std::runtime_error(text), m_code(code & 0xff) {}

    // SQLite's primary result code.
    int Code() const { return m_code; }

    // The file is not what SQLite wrote.
    bool IsDamage() const { return m_code == SQLITE_CORRUPT || m_code == SQLITE_NOTADB; }
    // There is no room for more, on the disk or within the file's bound.
    bool IsFull() const { return m_code == SQLITE_FULL; }

private:
    const int m_code;
};

// Prepared once, and run many times. All functions throw a SqliteError. One thread at a time, here and below.
class SqliteStatement final {
public:
    SqliteStatement(sqlite3* database, const char* text);

    // Values for ?1, ?2 and so on. A text must stay as it is until the next Reset.
    SqliteStatement& Bind(int place, std::int64_t number);
    SqliteStatement& Bind(int place, std::string_view text);

    // Goes to the next row of the result; false: there is none, and the statement is as before its first row.
    bool Step();
    // Runs it to its end, for what has no result.
    void Run();
    // Ends it before its last row, so that it holds nothing.
    void Reset();

    // Of the row that Step went to; a text is valid until the next Step or Reset.
    std::int64_t Number(int column) { return sqlite3_column_int64(m_statement.get(), column); }
    std::string_view Text(int column);
    bool IsNull(int column) { return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL; }
    int Columns() { return sqlite3_column_count(m_statement.get()); }

private:
    struct End {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    [[noreturn]] void Throw(int code);

    std::unique_ptr<sqlite3_stmt, End> m_statement;
};

class SqliteFile final {
public:
    // Opens the file, or makes it. Throws a SqliteError, like the functions.
    explicit SqliteFile(const std::string& path);

    // Runs statements that have no parameters and whose results nobody wants.
    void Run(const std::string& text);

    // The first number of the result.
    std::int64_t Number(const char* text);

    // How many rows the last statement changed.
    std::uint64_t Changed() { return static_cast<std::uint64_t>(sqlite3_changes(m_database.get())); }

    // Whether a transaction has begun and not ended.
    bool IsWithinTransaction() { return sqlite3_get_autocommit(m_database.get()) == 0; }

    sqlite3* Get() { return m_database.get(); }

private:
    struct End {
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
    };

    std::unique_ptr<sqlite3, End> m_database;
};

// All or nothing: what is done while it lives is undone with it, unless it was committed.
class SqliteTransaction final {
public:
    explicit SqliteTransaction(SqliteFile& file) : m_file(file) { m_file.Run("BEGIN IMMEDIATE"); }
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;
    ~SqliteTransaction();

    void Commit();

private:
    SqliteFile& m_file;
    bool m_committed = false;
};

}  // namespace qxlt
