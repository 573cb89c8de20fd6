#include "tests/TestSupport/FaultVfs.h"

#include <sqlite3.h>

#include <mutex>

#include "tests/TestSupport/FaultSchedule.h"

namespace Varnholt::Testing {

namespace {

// A file of the fault VFS: SQLite's handle, followed in the same block by
// the real VFS's own handle for the same file.
struct FaultFile {
  sqlite3_file base;
  sqlite3_file* real;
  bool scheduled;  // a database, write-ahead log or rollback journal
};

sqlite3_file* Real(sqlite3_file* file) { return reinterpret_cast<FaultFile*>(file)->real; }
const sqlite3_io_methods& RealMethods(sqlite3_file* file) { return *Real(file)->pMethods; }
sqlite3_vfs* RealVfs(sqlite3_vfs* vfs) { return static_cast<sqlite3_vfs*>(vfs->pAppData); }

// What the schedule says of one call of a scheduled file; a pass-through
// decision for the others.
FaultDecision Decide(sqlite3_file* file, WriteCall call, int size) {
  if (!reinterpret_cast<FaultFile*>(file)->scheduled) return {};
  return FaultSchedule::Process().Decide(WriteSeam::kIndex, call, static_cast<std::size_t>(size));
}

int Write(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
  const FaultDecision decision = Decide(file, WriteCall::kWrite, size);
  if (!decision.fail) return RealMethods(file).xWrite(Real(file), data, size, offset);
  if (decision.bytes > 0) {
    RealMethods(file).xWrite(Real(file), data, static_cast<int>(decision.bytes), offset);
  }
  if (decision.crash) FaultSchedule::KillProcess();
  return decision.index_error;
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
  const FaultDecision decision = Decide(file, WriteCall::kTruncate, 1);
  if (decision.crash) FaultSchedule::KillProcess();
  if (decision.fail) return SQLITE_IOERR_TRUNCATE;
  return RealMethods(file).xTruncate(Real(file), size);
}

int Sync(sqlite3_file* file, int flags) {
  const FaultDecision decision = Decide(file, WriteCall::kSync, 1);
  if (decision.crash) FaultSchedule::KillProcess();
  if (decision.fail) return SQLITE_IOERR_FSYNC;
  return RealMethods(file).xSync(Real(file), flags);
}

int Close(sqlite3_file* file) { return RealMethods(file).xClose(Real(file)); }

// The methods that only pass the call on; the shared-memory and
// memory-mapping ones exist only in the newer method tables.
const sqlite3_io_methods kMethods = {
    3,
    Close,
    [](sqlite3_file* f, void* data, int size, sqlite3_int64 offset) {
      return RealMethods(f).xRead(Real(f), data, size, offset);
    },
    Write,
    Truncate,
    Sync,
    [](sqlite3_file* f, sqlite3_int64* size) { return RealMethods(f).xFileSize(Real(f), size); },
    [](sqlite3_file* f, int level) { return RealMethods(f).xLock(Real(f), level); },
    [](sqlite3_file* f, int level) { return RealMethods(f).xUnlock(Real(f), level); },
    [](sqlite3_file* f, int* out) { return RealMethods(f).xCheckReservedLock(Real(f), out); },
    [](sqlite3_file* f, int op, void* arg) {
      return RealMethods(f).xFileControl(Real(f), op, arg);
    },
    [](sqlite3_file* f) { return RealMethods(f).xSectorSize(Real(f)); },
    [](sqlite3_file* f) { return RealMethods(f).xDeviceCharacteristics(Real(f)); },
    [](sqlite3_file* f, int region, int size, int extend, void volatile** out) {
      if (RealMethods(f).iVersion < 2) return SQLITE_IOERR_SHMMAP;
      return RealMethods(f).xShmMap(Real(f), region, size, extend, out);
    },
    [](sqlite3_file* f, int offset, int count, int flags) {
      if (RealMethods(f).iVersion < 2) return SQLITE_IOERR_SHMLOCK;
      return RealMethods(f).xShmLock(Real(f), offset, count, flags);
    },
    [](sqlite3_file* f) {
      if (RealMethods(f).iVersion >= 2) RealMethods(f).xShmBarrier(Real(f));
    },
    [](sqlite3_file* f, int remove) {
      if (RealMethods(f).iVersion < 2) return SQLITE_OK;
      return RealMethods(f).xShmUnmap(Real(f), remove);
    },
    [](sqlite3_file* f, sqlite3_int64 offset, int size, void** out) {
      *out = nullptr;  // no mapping: SQLite then reads
      if (RealMethods(f).iVersion < 3) return SQLITE_OK;
      return RealMethods(f).xFetch(Real(f), offset, size, out);
    },
    [](sqlite3_file* f, sqlite3_int64 offset, void* page) {
      if (RealMethods(f).iVersion < 3) return SQLITE_OK;
      return RealMethods(f).xUnfetch(Real(f), offset, page);
    },
};

constexpr int kScheduledFiles = SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL;

int Open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  auto* wrapper = reinterpret_cast<FaultFile*>(file);
  wrapper->real = reinterpret_cast<sqlite3_file*>(wrapper + 1);
  wrapper->scheduled = (flags & kScheduledFiles) != 0;
  const int result = RealVfs(vfs)->xOpen(RealVfs(vfs), name, wrapper->real, flags, out_flags);
  // SQLite closes a file whose methods are set, even after a failed open.
  wrapper->base.pMethods = wrapper->real->pMethods != nullptr ? &kMethods : nullptr;
  return result;
}

// The fault VFS: the default VFS's fields, with a bigger file handle, its
// own open, and every other call passed to the default VFS.
sqlite3_vfs MakeFaultVfs(sqlite3_vfs* real) {
  sqlite3_vfs vfs = *real;
  vfs.szOsFile = static_cast<int>(sizeof(FaultFile)) + real->szOsFile;
  vfs.pNext = nullptr;
  vfs.zName = "krd-fault";
  vfs.pAppData = real;
  vfs.xOpen = Open;
  vfs.xDelete = [](sqlite3_vfs* v, const char* name, int sync) {
    return RealVfs(v)->xDelete(RealVfs(v), name, sync);
  };
  vfs.xAccess = [](sqlite3_vfs* v, const char* name, int flags, int* out) {
    return RealVfs(v)->xAccess(RealVfs(v), name, flags, out);
  };
  vfs.xFullPathname = [](sqlite3_vfs* v, const char* name, int size, char* out) {
    return RealVfs(v)->xFullPathname(RealVfs(v), name, size, out);
  };
  vfs.xDlOpen = [](sqlite3_vfs* v, const char* name) {
    return RealVfs(v)->xDlOpen(RealVfs(v), name);
  };
  vfs.xDlError = [](sqlite3_vfs* v, int size, char* out) {
    RealVfs(v)->xDlError(RealVfs(v), size, out);
  };
  vfs.xDlSym = [](sqlite3_vfs* v, void* library, const char* symbol) {
    return RealVfs(v)->xDlSym(RealVfs(v), library, symbol);
  };
  vfs.xDlClose = [](sqlite3_vfs* v, void* library) { RealVfs(v)->xDlClose(RealVfs(v), library); };
  vfs.xRandomness = [](sqlite3_vfs* v, int size, char* out) {
    return RealVfs(v)->xRandomness(RealVfs(v), size, out);
  };
  vfs.xSleep = [](sqlite3_vfs* v, int micros) { return RealVfs(v)->xSleep(RealVfs(v), micros); };
  vfs.xCurrentTime = [](sqlite3_vfs* v, double* out) {
    return RealVfs(v)->xCurrentTime(RealVfs(v), out);
  };
  vfs.xGetLastError = [](sqlite3_vfs* v, int size, char* out) {
    return RealVfs(v)->xGetLastError(RealVfs(v), size, out);
  };
  vfs.xCurrentTimeInt64 = [](sqlite3_vfs* v, sqlite3_int64* out) {
    return RealVfs(v)->xCurrentTimeInt64(RealVfs(v), out);
  };
  vfs.xSetSystemCall = [](sqlite3_vfs* v, const char* name, sqlite3_syscall_ptr call) {
    return RealVfs(v)->xSetSystemCall(RealVfs(v), name, call);
  };
  vfs.xGetSystemCall = [](sqlite3_vfs* v, const char* name) {
    return RealVfs(v)->xGetSystemCall(RealVfs(v), name);
  };
  vfs.xNextSystemCall = [](sqlite3_vfs* v, const char* name) {
    return RealVfs(v)->xNextSystemCall(RealVfs(v), name);
  };
  return vfs;
}

}  // namespace

void InstallFaultVfs() {
  static std::once_flag installed;
  std::call_once(installed, [] {
    static sqlite3_vfs vfs = MakeFaultVfs(sqlite3_vfs_find(nullptr));
    sqlite3_vfs_register(&vfs, /*makeDflt=*/1);
  });
}

}  // namespace Varnholt::Testing
