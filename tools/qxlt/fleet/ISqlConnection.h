// A database that is reached in SQL, whichever it is.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace qxlt {

// The database refuses a statement for what its values are: it would refuse it the next time, too.
class DataRefused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What differs between databases.
struct SqlDialect {
    std::string begin;  // a transaction that is going to write
    std::string lock;   // a statement, as the first of a transaction: nobody else makes tables meanwhile; empty: none
    std::string text;   // the types of columns
    std::string number;
    std::string time;
    std::string json;
};

// One thread at a time.
class ISqlConnection {
public:
    using Row = std::vector<std::optional<std::string>>;
    using Columns = std::vector<std::pair<std::string, std::string>>;  // name and type

    virtual ~ISqlConnection() = default;

    virtual const SqlDialect& Dialect() const = 0;

    // What stands behind FROM for the rows of a list of JSON objects, which is the statement's first parameter. They
    // have these columns, and the name r.
    virtual std::string RowsOfJson(const Columns& columns) const = 0;

    // Whether there is a table of that name, and whether the database is another program's.
    virtual bool HasTable(const std::string& name) = 0;
    virtual bool IsForeign() = 0;

    // Runs one statement, with $1, $2 and so on, in the order of their first use, for the parameters. Returns its rows.
    // Connects anew where the connection is lost, unless a transaction is open. Throws StoreAway and DataRefused;
    // whoever began a transaction then rolls it back.
    virtual std::vector<Row> Run(const std::string& statement, const std::vector<std::string>& parameters = {}) = 0;

    // Ends what was begun, if something was; nothing is thrown.
    virtual void Rollback() = 0;
};

}  // namespace qxlt
