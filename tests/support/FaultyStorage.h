#pragma once

#include <atomic>
#include <cstring>
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
        diskFull,    ///< every write and every growth of a file fails with SQLITE_FULL (ENOSPC)
        readOnly,    ///< every write fails as on a file system remounted read-only (EROFS)
    };

    /// Each fault with SQLite's text for the error it causes.
    static constexpr std::pair<Fault, const char*> kFaultsAndReasons[] = {
        {Fault::diskFull, "database or disk is full"}, {Fault::readOnly, "disk I/O error"}};

    FaultyStorage() {
        Shim& shim = Shim::instance();
        shim.fault = Fault::none;
        sqlite3_vfs_register(&shim.vfs, 1);
    }
    ~FaultyStorage() {
        Shim& shim = Shim::instance();
        shim.fault = Fault::none;
        sqlite3_vfs_register(shim.real, 1);
    }
    FaultyStorage(const FaultyStorage&) = delete;
    FaultyStorage& operator=(const FaultyStorage&) = delete;

    void set(Fault fault) { Shim::instance().fault = fault; }
    /// Writes refused since the storage was made.
    int refusedWrites() const { return Shim::instance().refused; }

private:
    struct File {
        sqlite3_file base;
        sqlite3_file* real;  // follows this struct in the same allocation
    };

    struct Shim {
        sqlite3_vfs vfs{};
        sqlite3_vfs* real = nullptr;
        sqlite3_io_methods methods{};
        std::atomic<Fault> fault{Fault::none};
        std::atomic<int> refused{0};

        static Shim& instance() {
            static Shim* shim = new Shim();  // SQLite may keep pointers to it until exit
            return *shim;
        }
        Shim() {
            real = sqlite3_vfs_find("unix");
            vfs = *real;
            vfs.zName = "tarvo-faulty";
            vfs.szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
            vfs.pAppData = this;
            vfs.xOpen = &open;
        }

        // The result code of a refused write, or SQLITE_OK to let it through.
        int refusal(int fullCode) {
            switch (fault.load()) {
                case Fault::none: return SQLITE_OK;
                case Fault::diskFull: ++refused; return fullCode;
                case Fault::readOnly: ++refused; return SQLITE_IOERR_WRITE;
            }
            return SQLITE_OK;
        }

        static sqlite3_file* realOf(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }

        static int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int openFlags, int* outFlags) {
            Shim& shim = *static_cast<Shim*>(vfs->pAppData);
            auto* wrapper = reinterpret_cast<File*>(file);
            wrapper->real = reinterpret_cast<sqlite3_file*>(wrapper + 1);
            const int opened = shim.real->xOpen(shim.real, name, wrapper->real, openFlags, outFlags);
            if (opened != SQLITE_OK || wrapper->real->pMethods == nullptr) {
                file->pMethods = nullptr;
                return opened;
            }
            if (shim.methods.iVersion == 0) {
                shim.methods = *wrapper->real->pMethods;
                shim.methods.xClose = [](sqlite3_file* f) { return realOf(f)->pMethods->xClose(realOf(f)); };
                shim.methods.xRead = [](sqlite3_file* f, void* data, int amount, sqlite3_int64 offset) {
                    return realOf(f)->pMethods->xRead(realOf(f), data, amount, offset);
                };
                shim.methods.xWrite = [](sqlite3_file* f, const void* data, int amount, sqlite3_int64 offset) {
                    if (const int rc = instance().refusal(SQLITE_FULL)) return rc;
                    return realOf(f)->pMethods->xWrite(realOf(f), data, amount, offset);
                };
                shim.methods.xTruncate = [](sqlite3_file* f, sqlite3_int64 size) {
                    if (const int rc = instance().refusal(SQLITE_FULL)) return rc;
                    return realOf(f)->pMethods->xTruncate(realOf(f), size);
                };
                shim.methods.xSync = [](sqlite3_file* f, int flags) {
                    return realOf(f)->pMethods->xSync(realOf(f), flags);
                };
                shim.methods.xFileSize = [](sqlite3_file* f, sqlite3_int64* size) {
                    return realOf(f)->pMethods->xFileSize(realOf(f), size);
                };
                shim.methods.xLock = [](sqlite3_file* f, int lock) { return realOf(f)->pMethods->xLock(realOf(f), lock); };
                shim.methods.xUnlock = [](sqlite3_file* f, int lock) {
                    return realOf(f)->pMethods->xUnlock(realOf(f), lock);
                };
                shim.methods.xCheckReservedLock = [](sqlite3_file* f, int* out) {
                    return realOf(f)->pMethods->xCheckReservedLock(realOf(f), out);
                };
                shim.methods.xFileControl = [](sqlite3_file* f, int op, void* arg) {
                    // The size hint grows the file ahead of writes: on a full disk it fails too.
                    if (op == SQLITE_FCNTL_SIZE_HINT) {
                        if (const int rc = instance().refusal(SQLITE_FULL)) return rc;
                    }
                    return realOf(f)->pMethods->xFileControl(realOf(f), op, arg);
                };
                shim.methods.xSectorSize = [](sqlite3_file* f) { return realOf(f)->pMethods->xSectorSize(realOf(f)); };
                shim.methods.xDeviceCharacteristics = [](sqlite3_file* f) {
                    return realOf(f)->pMethods->xDeviceCharacteristics(realOf(f));
                };
                shim.methods.xShmMap = [](sqlite3_file* f, int page, int size, int extend, void volatile** out) {
                    return realOf(f)->pMethods->xShmMap(realOf(f), page, size, extend, out);
                };
                shim.methods.xShmLock = [](sqlite3_file* f, int offset, int n, int flags) {
                    return realOf(f)->pMethods->xShmLock(realOf(f), offset, n, flags);
                };
                shim.methods.xShmBarrier = [](sqlite3_file* f) { realOf(f)->pMethods->xShmBarrier(realOf(f)); };
                shim.methods.xShmUnmap = [](sqlite3_file* f, int deleteFlag) {
                    return realOf(f)->pMethods->xShmUnmap(realOf(f), deleteFlag);
                };
                // Memory-mapped reads would bypass the wrapper's view of the file: left out.
                shim.methods.iVersion = 2;
                shim.methods.xFetch = nullptr;
                shim.methods.xUnfetch = nullptr;
            }
            file->pMethods = &shim.methods;
            return SQLITE_OK;
        }
    };
};

}  // namespace tarvo::test
