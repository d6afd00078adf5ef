#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>


struct sqlite3_stmt;

namespace tarvo {

class SqliteDatabase;

/// One prepared SQLite statement (finalised on destruction). Move-only; an empty statement
/// answers SQLITE_MISUSE to everything. Meant to be prepared once, then bound, stepped and
/// reset many times. Parameter and column indexes follow SQLite: parameters count from 1,
/// columns from 0. Result codes are SQLite's own.
class SqliteStatement {
public:
    /// An empty statement (prepare it later).
    SqliteStatement() = default;
    ~SqliteStatement();
    SqliteStatement(SqliteStatement&& other) noexcept;
    SqliteStatement& operator=(SqliteStatement&& other) noexcept;
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    /// Prepares the first statement of `sql` on `db`, finalising whatever was held before.
    /// SQLITE_OK, or the error code (the connection's errorMessage() tells why) and the
    /// statement stays empty.
    int prepare(const SqliteDatabase& db, std::string_view sql);
    bool isPrepared() const { return stmt_ != nullptr; }
    explicit operator bool() const { return isPrepared(); }

    int bindInt(int index, int value);
    int bindInt64(int index, int64_t value);
    int bindDouble(int index, double value);
    /// The text is copied; it need not outlive the call.
    int bindText(int index, std::string_view value);
    /// The bytes are copied; it need not outlive the call.
    int bindBlob(int index, const void* data, size_t size);
    int bindBlob(int index, const std::vector<uint8_t>& value);
    int bindNull(int index);
    /// Sets every parameter back to NULL.
    int clearBindings();
    /// Number of parameters in the statement.
    int parameterCount() const;

    /// SQLITE_ROW while rows come, SQLITE_DONE at the end, else an error code.
    int step();
    /// Ready to step again from the start; bindings are kept.
    int reset();
    /// Releases the statement; it is empty afterwards.
    int finalize();

    int columnCount() const;
    std::string columnName(int column) const;
    /// SQLite's storage class of the value: SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT,
    /// SQLITE_BLOB or SQLITE_NULL.
    int columnType(int column) const;
    bool columnIsNull(int column) const;
    int columnInt(int column) const;
    int64_t columnInt64(int column) const;
    double columnDouble(int column) const;
    /// The text (empty for NULL).
    std::string columnText(int column) const;
    /// The text, or `fallback` for NULL (an empty text stays empty).
    std::string columnTextOr(int column, std::string_view fallback) const;
    /// The bytes (empty for NULL).
    std::vector<uint8_t> columnBlob(int column) const;

    /// The SQL text the statement was prepared from.
    std::string sql() const;
    sqlite3_stmt* handle() const { return stmt_; }

private:
    sqlite3_stmt* stmt_ = nullptr;
};

}  // namespace tarvo
