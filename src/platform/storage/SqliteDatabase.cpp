#include "platform/storage/SqliteDatabase.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <array>
#include <atomic>
#include <fstream>
#include <utility>

#include <sqlite3.h>

#include "platform/host/LogMacros.h"

namespace tarvo {

static_assert(SqliteDatabase::kOpenReadOnly == SQLITE_OPEN_READONLY);
static_assert(SqliteDatabase::kOpenReadWrite == SQLITE_OPEN_READWRITE);
static_assert(SqliteDatabase::kOpenCreate == SQLITE_OPEN_CREATE);
static_assert(SqliteDatabase::kOpenUri == SQLITE_OPEN_URI);
static_assert(SqliteDatabase::kOpenMemory == SQLITE_OPEN_MEMORY);
static_assert(SqliteDatabase::kOpenNoMutex == SQLITE_OPEN_NOMUTEX);
static_assert(SqliteDatabase::kOpenFullMutex == SQLITE_OPEN_FULLMUTEX);
static_assert(SqliteDatabase::kOpenNoFollow == SQLITE_OPEN_NOFOLLOW);
static_assert((SqliteDatabase::kOpenImmutable &
               (SQLITE_OPEN_READONLY | SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_URI | SQLITE_OPEN_MEMORY |
                SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_FULLMUTEX | SQLITE_OPEN_SHAREDCACHE | SQLITE_OPEN_PRIVATECACHE |
                SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_EXRESCODE)) == 0);

namespace {

constexpr std::array<char, 16> kHeader = {'S', 'Q', 'L', 'i', 't', 'e', ' ', 'f',
                                          'o', 'r', 'm', 'a', 't', ' ', '3', '\0'};

// Whether the first bytes of a non-empty file are SQLite's header. Checked before SQLite
// opens the file: SQLite itself only notices on the first read, and we never want it to
// get as far as a write on something that belongs to somebody else.
bool hasSqliteHeader(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::array<char, 16> head{};
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    return in.gcount() == static_cast<std::streamsize>(head.size()) && head == kHeader;
}

// "file:" URI of a path, with the characters a URI gives a meaning escaped.
std::string fileUri(const std::filesystem::path& path) {
    // An empty authority before an absolute path, so that a path starting "//" is no host.
    std::string uri = path.is_absolute() ? "file://" : "file:";
    for (const char c : path.string()) {
        switch (c) {
            case '%': uri += "%25"; break;
            case '?': uri += "%3f"; break;
            case '#': uri += "%23"; break;
            default: uri += c;
        }
    }
    return uri;
}

// SQLite's own report of a failure of the storage under it (a full disk, an I/O error, a
// damaged file), which says what was being done when it happened. Callers see only a result
// code, and some (the saved-cities store) log no step failures at all, so this is where a
// person finds out why a write was lost. Other results (constraints, a busy lock, a schema
// that does not match) are the callers' to report.
std::atomic<unsigned> storageFaultCount{0};

void logStorageFault(void*, int code, const char* message) {
    const int primary = code & 0xff;
    if (primary == SQLITE_FULL || primary == SQLITE_IOERR || primary == SQLITE_CORRUPT) {
        storageFaultCount.fetch_add(1, std::memory_order_relaxed);
        TARVO_LOG_ERROR("SQLite storage fault: {} ({}): {}", sqlite3_errstr(code), code, message);
    }
}

// Installed when the library is loaded: SQLite takes its log only before it first starts.
// A host that started SQLite earlier keeps its own log.
[[maybe_unused]] const int kStorageFaultLogInstalled = sqlite3_config(SQLITE_CONFIG_LOG, &logStorageFault, nullptr);

bool isSpecialName(const std::filesystem::path& path, int flags) {
    return path.empty() || path == ":memory:" || (flags & (SQLITE_OPEN_URI | SQLITE_OPEN_MEMORY)) != 0;
}

}  // namespace

SqliteDatabase::~SqliteDatabase() { close(); }

unsigned SqliteDatabase::storageFaults() { return storageFaultCount.load(std::memory_order_relaxed); }

SqliteDatabase::SqliteDatabase(SqliteDatabase&& other) noexcept
    : db_(std::exchange(other.db_, nullptr)),
      attachments_(std::exchange(other.attachments_, {})),
      path_(std::move(other.path_)),
      openErrorCode_(other.openErrorCode_),
      openError_(std::move(other.openError_)) {}

SqliteDatabase& SqliteDatabase::operator=(SqliteDatabase&& other) noexcept {
    if (this != &other) {
        close();
        db_ = std::exchange(other.db_, nullptr);
        attachments_ = std::exchange(other.attachments_, {});
        path_ = std::move(other.path_);
        openErrorCode_ = other.openErrorCode_;
        openError_ = std::move(other.openError_);
    }
    return *this;
}

void SqliteDatabase::fail(int code, std::string message) {
    if (db_) {
        sqlite3_close_v2(db_);
        db_ = nullptr;
    }
    openErrorCode_ = code;
    openError_ = path_.string() + ": " + message;
}

bool SqliteDatabase::open(const std::filesystem::path& path, int flags) {
    close();
    path_ = path;
    openErrorCode_ = 0;
    openError_.clear();

    const bool wantsWrite = (flags & SQLITE_OPEN_READWRITE) != 0;
    if (!isSpecialName(path, flags)) {
        struct stat info {};
        const bool noFollow = (flags & SQLITE_OPEN_NOFOLLOW) != 0;
        if ((noFollow ? ::lstat(path.c_str(), &info) : ::stat(path.c_str(), &info)) == 0) {
            if (S_ISLNK(info.st_mode)) {
                fail(SQLITE_CANTOPEN, "is a symbolic link, which is not followed (it is left untouched)");
                return false;
            }
            if (S_ISDIR(info.st_mode)) {
                fail(SQLITE_CANTOPEN, "is a folder, not an SQLite database");
                return false;
            }
            if (info.st_size > 0 && !hasSqliteHeader(path)) {
                fail(SQLITE_NOTADB, "not an SQLite database (the file is left untouched)");
                return false;
            }
            // Permission bits that let nobody write mean the owner wants the file kept as
            // it is; honour that even when running with rights that would override them.
            if (wantsWrite && (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
                fail(SQLITE_READONLY, "the file is read-only (it is left untouched)");
                return false;
            }
        } else if (errno == ENOENT && wantsWrite && (flags & SQLITE_OPEN_CREATE) != 0) {
            // A new file is its owner's alone (saved places and preferences tell where a
            // person lives); SQLite gives its journals the same permissions. Made here
            // because SQLite would make it readable by everybody.
            const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
            if (fd >= 0) ::close(fd);
        }
    }

    std::string name = path.string();
    if ((flags & kOpenImmutable) != 0) {
        if (wantsWrite || isSpecialName(path, flags)) {
            fail(SQLITE_MISUSE, "only a file opened for reading can be immutable");
            return false;
        }
        name = fileUri(path) + "?immutable=1";
        flags = (flags & ~kOpenImmutable) | SQLITE_OPEN_URI;
    }
    const int rc = sqlite3_open_v2(name.c_str(), &db_, flags | SQLITE_OPEN_EXRESCODE, nullptr);
    if (rc != SQLITE_OK) {
        const std::string message = db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(rc);
        fail(rc, message);
        return false;
    }
    // SQLite quietly falls back to reading when the file cannot be opened for writing.
    if (wantsWrite && sqlite3_db_readonly(db_, "main") == 1) {
        fail(SQLITE_READONLY, "the file is read-only (it is left untouched)");
        return false;
    }
    // Another process may be creating or writing the file right now.
    sqlite3_busy_timeout(db_, kDefaultBusyTimeoutMs);
    // Reading the schema makes SQLite look at the file now rather than at the first query.
    const int check = sqlite3_exec(db_, "SELECT count(*) FROM sqlite_master", nullptr, nullptr, nullptr);
    if (check != SQLITE_OK) {
        const std::string message = check == SQLITE_NOTADB
                                        ? std::string("not an SQLite database (the file is left untouched)")
                                        : std::string(sqlite3_errmsg(db_));
        fail(check, message);
        return false;
    }
    return true;
}

void SqliteDatabase::close() {
    // What higher layers kept for the connection goes first (taken out before it is
    // destroyed, so a destructor that looks at this connection finds nothing half-gone):
    // its statements are finalised, and the connection then closes at once.
    std::exchange(attachments_, {}).clear();
    if (db_) {
        // close_v2 keeps the connection alive until statements prepared on it are finalised.
        sqlite3_close_v2(db_);
        db_ = nullptr;
    }
}

std::shared_ptr<void>& SqliteDatabase::attachment(const void* key) const {
    for (auto& [owner, object] : attachments_) {
        if (owner == key) return object;
    }
    return attachments_.emplace_back(key, nullptr).second;
}

bool SqliteDatabase::isReadOnly() const { return db_ && sqlite3_db_readonly(db_, "main") == 1; }

int SqliteDatabase::exec(std::string_view sql) {
    if (!db_) return SQLITE_MISUSE;
    // sqlite3_exec wants a terminated string.
    const std::string text(sql);
    return sqlite3_exec(db_, text.c_str(), nullptr, nullptr, nullptr);
}

int SqliteDatabase::setBusyTimeout(int milliseconds) {
    if (!db_) return SQLITE_MISUSE;
    return sqlite3_busy_timeout(db_, milliseconds);
}

std::string SqliteDatabase::errorMessage() const {
    if (!db_) return openError_.empty() ? std::string("database is not open") : openError_;
    return sqlite3_errmsg(db_);
}

int SqliteDatabase::errorCode() const {
    if (!db_) return openErrorCode_ != 0 ? openErrorCode_ : SQLITE_MISUSE;
    return sqlite3_extended_errcode(db_);
}

int64_t SqliteDatabase::lastInsertRowId() const { return db_ ? sqlite3_last_insert_rowid(db_) : 0; }

int64_t SqliteDatabase::changes() const { return db_ ? sqlite3_changes64(db_) : 0; }

}  // namespace tarvo
