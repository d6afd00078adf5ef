#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>


struct sqlite3;

namespace tarvo {

/// One open SQLite connection (closed on destruction). A thin layer over the C API: result
/// codes are SQLite's own (SQLITE_OK, SQLITE_BUSY, ...); handle() gives the raw connection
/// for anything not wrapped here.
///
/// Opening never damages an existing file: a file that is not an SQLite database, or that
/// is read-only when writing was asked for, is refused with a clear error text and left
/// exactly as it was.
class SqliteDatabase {
public:
    /// Open flags, the same bits as SQLite's SQLITE_OPEN_* constants.
    static constexpr int kOpenReadOnly = 0x00000001;
    static constexpr int kOpenReadWrite = 0x00000002;
    static constexpr int kOpenCreate = 0x00000004;
    static constexpr int kOpenUri = 0x00000040;
    static constexpr int kOpenMemory = 0x00000080;
    static constexpr int kOpenNoMutex = 0x00008000;
    static constexpr int kOpenFullMutex = 0x00010000;
    static constexpr int kOpenNoFollow = 0x01000000;
    /// TarvoCore's own bit, not SQLite's: with kOpenReadOnly, a file that nothing changes
    /// while it is open (a shipped data file). SQLite then reads it without locking and never
    /// creates anything beside it, not even for a file left in write-ahead-log mode.
    static constexpr int kOpenImmutable = 0x40000000;
    static constexpr int kDefaultFlags = kOpenReadWrite | kOpenCreate;
    /// How long an opened connection waits for another connection's lock before a
    /// statement gives up with SQLITE_BUSY (setBusyTimeout changes it).
    static constexpr int kDefaultBusyTimeoutMs = 5000;

    /// A closed connection.
    SqliteDatabase() = default;
    ~SqliteDatabase();
    SqliteDatabase(SqliteDatabase&& other) noexcept;
    SqliteDatabase& operator=(SqliteDatabase&& other) noexcept;
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    /// Opens `path` (":memory:" for a private in-memory database), closing any connection
    /// held before. False when it cannot be used; errorMessage() then says why and the
    /// connection stays closed. A file is checked before SQLite may touch it: it must be
    /// empty or begin with the SQLite header, and it must be writable when kOpenReadWrite
    /// is asked for (a file whose permission bits allow nobody to write counts as
    /// read-only even for a user who could override them). With kOpenNoFollow a symbolic
    /// link in the file's place is refused. A file created here is readable and writable
    /// by its owner only.
    bool open(const std::filesystem::path& path, int flags = kDefaultFlags);
    /// Closes the connection; statements still prepared on it keep it alive until they
    /// are finalised.
    void close();

    bool isOpen() const { return db_ != nullptr; }
    /// How many storage faults (a damaged file, an I/O error, a full disk) SQLite has
    /// reported in this process, on any connection. A reader compares two readings to learn
    /// whether its work met one.
    static unsigned storageFaults();
    /// True when the main database was opened for reading only.
    bool isReadOnly() const;
    const std::filesystem::path& path() const { return path_; }

    /// Runs one or more SQL statements without results; the result code.
    int exec(std::string_view sql);
    /// How long a statement waits for another connection's lock before SQLITE_BUSY.
    int setBusyTimeout(int milliseconds);

    /// Text of the last error on this connection (also of a failed open).
    std::string errorMessage() const;
    /// Extended result code of the last error (SQLITE_CANTOPEN etc. for a failed open).
    int errorCode() const;

    int64_t lastInsertRowId() const;
    /// Rows changed by the last INSERT, UPDATE or DELETE.
    int64_t changes() const;

    /// What a higher layer keeps for this connection (its prepared statements), one object per
    /// `key` (the address of something the layer owns): empty until the layer stores one. The
    /// objects move with the connection and are destroyed when it closes, before the
    /// connection itself, so statements kept in them never outlive it. Not locked: the layer
    /// serialises its own use.
    std::shared_ptr<void>& attachment(const void* key) const;

    sqlite3* handle() const { return db_; }

private:
    void fail(int code, std::string message);

    sqlite3* db_ = nullptr;
    mutable std::vector<std::pair<const void*, std::shared_ptr<void>>> attachments_;
    std::filesystem::path path_;
    int openErrorCode_ = 0;
    std::string openError_;
};

}  // namespace tarvo
