#include "platform/storage/SqliteStatement.h"

#include <utility>

#include <sqlite3.h>

#include "platform/storage/SqliteDatabase.h"

namespace tarvo {

SqliteStatement::~SqliteStatement() { finalize(); }

SqliteStatement::SqliteStatement(SqliteStatement&& other) noexcept : stmt_(std::exchange(other.stmt_, nullptr)) {}

SqliteStatement& SqliteStatement::operator=(SqliteStatement&& other) noexcept {
    if (this != &other) {
        finalize();
        stmt_ = std::exchange(other.stmt_, nullptr);
    }
    return *this;
}

int SqliteStatement::prepare(const SqliteDatabase& db, std::string_view sql) {
    finalize();
    if (!db.handle()) return SQLITE_MISUSE;
    // Statements are kept and reused, so SQLite may give them long-lived memory.
    return sqlite3_prepare_v3(db.handle(), sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                              &stmt_, nullptr);
}

int SqliteStatement::bindInt(int index, int value) {
    return stmt_ ? sqlite3_bind_int(stmt_, index, value) : SQLITE_MISUSE;
}

int SqliteStatement::bindInt64(int index, int64_t value) {
    return stmt_ ? sqlite3_bind_int64(stmt_, index, value) : SQLITE_MISUSE;
}

int SqliteStatement::bindDouble(int index, double value) {
    return stmt_ ? sqlite3_bind_double(stmt_, index, value) : SQLITE_MISUSE;
}

int SqliteStatement::bindText(int index, std::string_view value) {
    if (!stmt_) return SQLITE_MISUSE;
    return sqlite3_bind_text64(stmt_, index, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

int SqliteStatement::bindBlob(int index, const void* data, size_t size) {
    if (!stmt_) return SQLITE_MISUSE;
    // A null pointer would bind NULL; an empty blob is still a blob.
    static const uint8_t kEmpty = 0;
    return sqlite3_bind_blob64(stmt_, index, data ? data : &kEmpty, size, SQLITE_TRANSIENT);
}

int SqliteStatement::bindBlob(int index, const std::vector<uint8_t>& value) {
    return bindBlob(index, value.data(), value.size());
}

int SqliteStatement::bindNull(int index) { return stmt_ ? sqlite3_bind_null(stmt_, index) : SQLITE_MISUSE; }

int SqliteStatement::clearBindings() { return stmt_ ? sqlite3_clear_bindings(stmt_) : SQLITE_MISUSE; }

int SqliteStatement::parameterCount() const { return stmt_ ? sqlite3_bind_parameter_count(stmt_) : 0; }

int SqliteStatement::step() { return stmt_ ? sqlite3_step(stmt_) : SQLITE_MISUSE; }

int SqliteStatement::reset() { return stmt_ ? sqlite3_reset(stmt_) : SQLITE_MISUSE; }

int SqliteStatement::finalize() {
    if (!stmt_) return SQLITE_OK;
    return sqlite3_finalize(std::exchange(stmt_, nullptr));
}

int SqliteStatement::columnCount() const { return stmt_ ? sqlite3_column_count(stmt_) : 0; }

std::string SqliteStatement::columnName(int column) const {
    const char* name = stmt_ ? sqlite3_column_name(stmt_, column) : nullptr;
    return name ? std::string(name) : std::string();
}

int SqliteStatement::columnType(int column) const {
    return stmt_ ? sqlite3_column_type(stmt_, column) : SQLITE_NULL;
}

bool SqliteStatement::columnIsNull(int column) const { return columnType(column) == SQLITE_NULL; }

int SqliteStatement::columnInt(int column) const { return stmt_ ? sqlite3_column_int(stmt_, column) : 0; }

int64_t SqliteStatement::columnInt64(int column) const { return stmt_ ? sqlite3_column_int64(stmt_, column) : 0; }

double SqliteStatement::columnDouble(int column) const { return stmt_ ? sqlite3_column_double(stmt_, column) : 0.0; }

std::string SqliteStatement::columnText(int column) const {
    if (!stmt_) return {};
    // Ask for the text before its length: the conversion may change the size.
    const auto* text = sqlite3_column_text(stmt_, column);
    if (!text) return {};
    return std::string(reinterpret_cast<const char*>(text), static_cast<size_t>(sqlite3_column_bytes(stmt_, column)));
}

std::string SqliteStatement::columnTextOr(int column, std::string_view fallback) const {
    return columnIsNull(column) ? std::string(fallback) : columnText(column);
}

std::vector<uint8_t> SqliteStatement::columnBlob(int column) const {
    if (!stmt_) return {};
    const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(stmt_, column));
    if (!bytes) return {};
    return std::vector<uint8_t>(bytes, bytes + sqlite3_column_bytes(stmt_, column));
}

std::string SqliteStatement::sql() const {
    const char* text = stmt_ ? sqlite3_sql(stmt_) : nullptr;
    return text ? std::string(text) : std::string();
}

}  // namespace tarvo
