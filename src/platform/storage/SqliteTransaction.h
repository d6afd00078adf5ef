#pragma once

#include <string>

namespace tarvo {

class SqliteDatabase;

/// A transaction or savepoint that ends when the guard does: begun in the constructor,
/// rolled back in the destructor unless commit() succeeded (SQLiteCpp's Transaction and
/// Savepoint are the model). Nothing throws: began() says whether the constructor's BEGIN
/// or SAVEPOINT took, and a guard that did not begin does nothing later.
///
/// A savepoint nests inside whatever transaction is open (or opens one); rolling it back
/// undoes its own changes only and then releases it, so the enclosing work goes on.
class SqliteTransaction {
public:
    enum class Mode {
        deferred,   ///< BEGIN: the locks are taken by the first read and the first write
        immediate,  ///< BEGIN IMMEDIATE: the write lock now, so a locked file fails before any change
    };

    explicit SqliteTransaction(SqliteDatabase& database, Mode mode = Mode::deferred);
    /// SAVEPOINT `name`.
    SqliteTransaction(SqliteDatabase& database, std::string savepointName);
    ~SqliteTransaction();
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;

    bool began() const { return began_; }
    /// COMMIT (RELEASE for a savepoint); SQLite's result code. After a failure the guard still
    /// rolls back when it ends. SQLITE_MISUSE when it did not begin or has already ended.
    int commit();
    /// Rolls back now (ROLLBACK; for a savepoint ROLLBACK TO and RELEASE).
    void rollback();

private:
    SqliteDatabase& database_;
    std::string savepoint_;  // empty for a transaction
    bool began_ = false;
    bool ended_ = false;
};

}  // namespace tarvo
