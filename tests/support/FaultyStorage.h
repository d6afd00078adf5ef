#pragma once

#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
#include <utility>

#include <sqlite3.h>

namespace tarvo::test {

/// An SQLite VFS over the system's own that can make the storage fail on demand, so that a
/// test can fill the disk or turn it read-only in the middle of a session. While a
/// FaultyStorage lives it is SQLite's default VFS: every connection opened meanwhile (the
/// library's included) goes through it. Connections opened before keep the system's VFS.
///
/// Faults touch writes to files only (the database, its journal and its write-ahead log);
/// the WAL index is shared memory and keeps working, as it does on a real full disk.
class FaultyStorage {
public:
    enum class Fault {
        none,
        diskFull,  ///< every write and every growth of a file fails with SQLITE_FULL (ENOSPC)
        readOnly,  ///< every write fails as on a file system remounted read-only (EROFS)
    };

    /// Each fault with SQLite's text for the error it causes.
    static constexpr std::pair<Fault, const char*> kFaultsAndReasons[] = {
        {Fault::diskFull, "database or disk is full"}, {Fault::readOnly, "disk I/O error"}};

    FaultyStorage() {
        shim().fault = Fault::none;
        sqlite3_vfs_register(&shim().vfs, 1);
    }
    ~FaultyStorage() {
        shim().fault = Fault::none;
        sqlite3_vfs_register(shim().real, 1);
    }
    FaultyStorage(const FaultyStorage&) = delete;
    FaultyStorage& operator=(const FaultyStorage&) = delete;

    void set(Fault fault) { shim().fault = fault; }

private:
    // The system's VFS with another name. Its files keep their own state, with the system's
    // methods for them stored behind it; they get a copy of those methods (one copy for each
    // kind of file: locking or not) in which the three that write or grow a file can refuse.
    struct Shim {
        sqlite3_vfs* real = sqlite3_vfs_find("unix");
        sqlite3_vfs vfs = *real;
        std::mutex mutex;
        std::array<std::pair<const sqlite3_io_methods*, sqlite3_io_methods>, 4> copies{};
        std::atomic<Fault> fault{Fault::none};

        Shim() {
            vfs.zName = "tarvo-faulty";
            vfs.szOsFile = real->szOsFile + static_cast<int>(sizeof(void*));
            vfs.xOpen = &open;
        }
        // The result code of a refused write, or SQLITE_OK to let it through.
        int refusal() const {
            if (fault == Fault::none) return SQLITE_OK;
            return fault == Fault::diskFull ? SQLITE_FULL : SQLITE_IOERR_WRITE;
        }
    };
    static Shim& shim() {
        static Shim* shim = new Shim();  // SQLite may keep pointers to it until exit
        return *shim;
    }
    static const sqlite3_io_methods* realOf(sqlite3_file* file) {
        const sqlite3_io_methods* methods = nullptr;
        std::memcpy(&methods, reinterpret_cast<char*>(file) + shim().real->szOsFile, sizeof(methods));
        return methods;
    }

    static int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int openFlags, int* outFlags) {
        Shim& s = shim();
        const int opened = s.real->xOpen(s.real, name, file, openFlags, outFlags);
        if (opened != SQLITE_OK || file->pMethods == nullptr) return opened;
        std::memcpy(reinterpret_cast<char*>(file) + s.real->szOsFile, &file->pMethods, sizeof(file->pMethods));
        std::lock_guard lock(s.mutex);
        for (auto& [real, copy] : s.copies) {
            if (real != nullptr && real != file->pMethods) continue;
            if (real == nullptr) {
                real = file->pMethods;
                copy = *real;
                copy.xWrite = [](sqlite3_file* f, const void* data, int amount, sqlite3_int64 offset) {
                    if (const int rc = shim().refusal()) return rc;
                    return realOf(f)->xWrite(f, data, amount, offset);
                };
                copy.xTruncate = [](sqlite3_file* f, sqlite3_int64 size) {
                    if (const int rc = shim().refusal()) return rc;
                    return realOf(f)->xTruncate(f, size);
                };
                copy.xFileControl = [](sqlite3_file* f, int op, void* arg) {
                    // The size hint grows the file ahead of writes: on a full disk it fails too.
                    if (op == SQLITE_FCNTL_SIZE_HINT) {
                        if (const int rc = shim().refusal()) return rc;
                    }
                    return realOf(f)->xFileControl(f, op, arg);
                };
            }
            file->pMethods = &copy;
            break;
        }
        return SQLITE_OK;
    }
};

}  // namespace tarvo::test
