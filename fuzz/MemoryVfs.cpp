// The VFS over MemoryFileStore: SQLite's file calls on files held in
// memory. Every call holds the store's mutex, so connections on several
// threads see one state.

#include "fuzz/MemoryVfs.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>

namespace Varnholt::Fuzzing {

namespace {

// What one open file of SQLite's refers to. A file without a name (a
// temporary one) belongs to its handle alone.
struct Handle {
  std::shared_ptr<MemoryFile> file;
  std::string path;
  bool read_only = false;
  bool delete_on_close = false;
  int lock_level = SQLITE_LOCK_NONE;
  bool maps_regions = false;
  uint32_t shared_slots = 0;
  uint32_t owned_slots = 0;
};

// SQLite's handle, followed by ours.
struct Slot {
  sqlite3_file base;
  Handle* handle;
};

Handle& HandleOf(sqlite3_file* file) { return *reinterpret_cast<Slot*>(file)->handle; }

MemoryFileStore& Store() { return MemoryFileStore::Process(); }

sqlite3_vfs* SystemVfs(sqlite3_vfs* vfs) { return static_cast<sqlite3_vfs*>(vfs->pAppData); }

int Read(sqlite3_file* file, void* out, int size, sqlite3_int64 offset) {
  std::lock_guard lock(Store().Mutex());
  const std::vector<uint8_t>& bytes = HandleOf(file).file->bytes;
  const auto start = static_cast<uint64_t>(offset);
  const uint64_t there = start < bytes.size() ? bytes.size() - start : 0;
  const auto count = static_cast<std::size_t>(std::min<uint64_t>(there, size));
  if (count > 0) std::memcpy(out, bytes.data() + start, count);
  if (count == static_cast<std::size_t>(size)) return SQLITE_OK;
  // SQLite expects the part past the end zeroed.
  std::memset(static_cast<uint8_t*>(out) + count, 0, static_cast<std::size_t>(size) - count);
  return SQLITE_IOERR_SHORT_READ;
}

int Write(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
  std::lock_guard lock(Store().Mutex());
  Handle& handle = HandleOf(file);
  if (handle.read_only) return SQLITE_IOERR_WRITE;
  std::vector<uint8_t>& bytes = handle.file->bytes;
  const auto start = static_cast<std::size_t>(offset);
  const std::size_t end = start + static_cast<std::size_t>(size);
  if (bytes.size() < end) bytes.resize(end);
  std::memcpy(bytes.data() + start, data, static_cast<std::size_t>(size));
  return SQLITE_OK;
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
  std::lock_guard lock(Store().Mutex());
  Handle& handle = HandleOf(file);
  if (handle.read_only) return SQLITE_IOERR_TRUNCATE;
  handle.file->bytes.resize(static_cast<std::size_t>(size));
  return SQLITE_OK;
}

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
  std::lock_guard lock(Store().Mutex());
  *size = static_cast<sqlite3_int64>(HandleOf(file).file->bytes.size());
  return SQLITE_OK;
}

// Database locks. xLock is asked for SHARED, RESERVED or EXCLUSIVE; the
// way to EXCLUSIVE passes through PENDING, which keeps new readers out
// while the readers there still are finish.
int LockLevel(Handle& handle, int level) {
  MemoryFile& file = *handle.file;
  if (handle.lock_level >= level) return SQLITE_OK;
  if (level == SQLITE_LOCK_SHARED) {
    if (file.writer != nullptr && file.writer_level >= SQLITE_LOCK_PENDING) return SQLITE_BUSY;
    ++file.shared_holders;
    handle.lock_level = SQLITE_LOCK_SHARED;
    return SQLITE_OK;
  }
  if (file.writer != nullptr && file.writer != &handle) return SQLITE_BUSY;
  file.writer = &handle;
  if (level == SQLITE_LOCK_RESERVED) {
    file.writer_level = handle.lock_level = SQLITE_LOCK_RESERVED;
    return SQLITE_OK;
  }
  if (file.shared_holders > 1) {
    file.writer_level = handle.lock_level = SQLITE_LOCK_PENDING;
    return SQLITE_BUSY;
  }
  file.writer_level = handle.lock_level = SQLITE_LOCK_EXCLUSIVE;
  return SQLITE_OK;
}

// Down to SHARED or NONE.
void UnlockLevel(Handle& handle, int level) {
  MemoryFile& file = *handle.file;
  if (handle.lock_level > SQLITE_LOCK_SHARED && level <= SQLITE_LOCK_SHARED) {
    if (file.writer == &handle) {
      file.writer = nullptr;
      file.writer_level = SQLITE_LOCK_NONE;
    }
    handle.lock_level = SQLITE_LOCK_SHARED;
  }
  if (handle.lock_level == SQLITE_LOCK_SHARED && level == SQLITE_LOCK_NONE) {
    --file.shared_holders;
    handle.lock_level = SQLITE_LOCK_NONE;
  }
}

int Lock(sqlite3_file* file, int level) {
  std::lock_guard lock(Store().Mutex());
  return LockLevel(HandleOf(file), level);
}

int Unlock(sqlite3_file* file, int level) {
  std::lock_guard lock(Store().Mutex());
  UnlockLevel(HandleOf(file), level);
  return SQLITE_OK;
}

int CheckReservedLock(sqlite3_file* file, int* out) {
  std::lock_guard lock(Store().Mutex());
  *out = HandleOf(file).file->writer != nullptr ? 1 : 0;
  return SQLITE_OK;
}

// Shared memory ---------------------------------------------------------

int MapRegion(sqlite3_file* file, int region, int region_size, int extend, void volatile** out) {
  std::lock_guard lock(Store().Mutex());
  Handle& handle = HandleOf(file);
  MemoryFile& stored = *handle.file;
  if (!handle.maps_regions) {
    handle.maps_regions = true;
    ++stored.region_users;
  }
  const auto index = static_cast<std::size_t>(region);
  if (index >= stored.regions.size()) {
    if (!extend) {
      *out = nullptr;
      return SQLITE_OK;
    }
    while (stored.regions.size() <= index) {
      stored.regions.push_back(std::make_unique<uint8_t[]>(static_cast<std::size_t>(region_size)));
    }
  }
  *out = stored.regions[index].get();
  return SQLITE_OK;
}

void ReleaseSlots(Handle& handle, uint32_t mask) {
  MemoryFile& file = *handle.file;
  for (int slot = 0; slot < SQLITE_SHM_NLOCK; ++slot) {
    const uint32_t bit = 1u << slot;
    if ((mask & handle.owned_slots & bit) != 0) file.slot_owner[slot] = nullptr;
    if ((mask & handle.shared_slots & bit) != 0) --file.slot_sharers[slot];
  }
  handle.owned_slots &= ~mask;
  handle.shared_slots &= ~mask;
}

// True when a handle other than this one holds the slot exclusive, or, if
// shared_too, shared.
bool OthersHold(const Handle& handle, int slot, bool shared_too) {
  const MemoryFile& file = *handle.file;
  if (file.slot_owner[slot] != nullptr && file.slot_owner[slot] != &handle) return true;
  if (!shared_too) return false;
  const int own = (handle.shared_slots >> slot) & 1;
  return file.slot_sharers[slot] - own > 0;
}

int LockSlots(sqlite3_file* file, int first, int count, int flags) {
  std::lock_guard lock(Store().Mutex());
  Handle& handle = HandleOf(file);
  MemoryFile& stored = *handle.file;
  const uint32_t mask = ((1u << (first + count)) - 1) & ~((1u << first) - 1);
  if ((flags & SQLITE_SHM_UNLOCK) != 0) {
    ReleaseSlots(handle, mask);
    return SQLITE_OK;
  }
  const bool exclusive = (flags & SQLITE_SHM_EXCLUSIVE) != 0;
  for (int slot = first; slot < first + count; ++slot) {
    if (OthersHold(handle, slot, exclusive)) return SQLITE_BUSY;
  }
  for (int slot = first; slot < first + count; ++slot) {
    const uint32_t bit = 1u << slot;
    if (exclusive) {
      stored.slot_owner[slot] = &handle;
      handle.owned_slots |= bit;
    } else if ((handle.shared_slots & bit) == 0) {
      ++stored.slot_sharers[slot];
      handle.shared_slots |= bit;
    }
  }
  return SQLITE_OK;
}

void Barrier(sqlite3_file*) { std::atomic_thread_fence(std::memory_order_seq_cst); }

void UnmapRegionsOf(Handle& handle) {
  if (!handle.maps_regions) return;
  ReleaseSlots(handle, ~0u);
  handle.maps_regions = false;
  MemoryFile& file = *handle.file;
  if (--file.region_users == 0) file.regions.clear();
}

int UnmapRegions(sqlite3_file* file, int /*delete_them*/) {
  std::lock_guard lock(Store().Mutex());
  UnmapRegionsOf(HandleOf(file));
  return SQLITE_OK;
}

// Opening and closing -----------------------------------------------------

int Close(sqlite3_file* file) {
  std::lock_guard lock(Store().Mutex());
  Slot& slot = *reinterpret_cast<Slot*>(file);
  Handle& handle = *slot.handle;
  UnmapRegionsOf(handle);
  UnlockLevel(handle, SQLITE_LOCK_NONE);
  if (handle.delete_on_close && !handle.path.empty() && Store().Find(handle.path) == handle.file) {
    Store().Remove(handle.path);
  }
  delete slot.handle;
  slot.handle = nullptr;
  return SQLITE_OK;
}

const sqlite3_io_methods kMethods = {
    2,  // shared memory, no memory mapping
    Close,
    Read,
    Write,
    Truncate,
    [](sqlite3_file*, int) { return SQLITE_OK; },  // sync: nothing to make durable
    FileSize,
    Lock,
    Unlock,
    CheckReservedLock,
    [](sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; },
    [](sqlite3_file*) { return 4096; },
    [](sqlite3_file*) { return SQLITE_IOCAP_POWERSAFE_OVERWRITE; },
    MapRegion,
    LockSlots,
    Barrier,
    UnmapRegions,
    nullptr,
    nullptr,
};

std::shared_ptr<MemoryFile> OpenNamed(const std::string& path, int flags) {
  if ((flags & SQLITE_OPEN_CREATE) == 0) return Store().Find(path);
  if ((flags & SQLITE_OPEN_EXCLUSIVE) != 0 && Store().Find(path) != nullptr) return nullptr;
  return Store().FindOrCreate(path);
}

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  std::lock_guard lock(Store().Mutex());
  file->pMethods = nullptr;  // SQLite closes only a file whose open set methods
  auto handle = std::make_unique<Handle>();
  if (name != nullptr) {
    handle->path = name;
    handle->file = OpenNamed(handle->path, flags);
    if (handle->file == nullptr) return SQLITE_CANTOPEN;
  } else {
    handle->file = std::make_shared<MemoryFile>();
  }
  handle->read_only = (flags & SQLITE_OPEN_READONLY) != 0;
  handle->delete_on_close = (flags & SQLITE_OPEN_DELETEONCLOSE) != 0;
  reinterpret_cast<Slot*>(file)->handle = handle.release();
  file->pMethods = &kMethods;
  if (out_flags != nullptr) *out_flags = flags;
  return SQLITE_OK;
}

int Delete(sqlite3_vfs*, const char* name, int /*sync_folder*/) {
  std::lock_guard lock(Store().Mutex());
  return Store().Remove(name) ? SQLITE_OK : SQLITE_IOERR_DELETE_NOENT;
}

int Access(sqlite3_vfs*, const char* name, int flags, int* out) {
  std::lock_guard lock(Store().Mutex());
  const std::shared_ptr<MemoryFile> file = Store().Find(name);
  // As the system VFS: an empty file does not count as existing.
  *out = file != nullptr && (flags != SQLITE_ACCESS_EXISTS || !file->bytes.empty()) ? 1 : 0;
  return SQLITE_OK;
}

int FullPathname(sqlite3_vfs*, const char* name, int size, char* out) {
  if (std::strlen(name) >= static_cast<std::size_t>(size)) return SQLITE_CANTOPEN;
  std::strcpy(out, name);
  return SQLITE_OK;
}

sqlite3_vfs MakeMemoryVfs(sqlite3_vfs* system) {
  sqlite3_vfs vfs{};
  vfs.iVersion = 2;
  vfs.szOsFile = static_cast<int>(sizeof(Slot));
  vfs.mxPathname = 1024;
  vfs.zName = "krd-memory";
  vfs.pAppData = system;
  vfs.xOpen = Open;
  vfs.xDelete = Delete;
  vfs.xAccess = Access;
  vfs.xFullPathname = FullPathname;
  vfs.xDlOpen = [](sqlite3_vfs* v, const char* name) {
    return SystemVfs(v)->xDlOpen(SystemVfs(v), name);
  };
  vfs.xDlError = [](sqlite3_vfs* v, int size, char* out) {
    SystemVfs(v)->xDlError(SystemVfs(v), size, out);
  };
  vfs.xDlSym = [](sqlite3_vfs* v, void* library, const char* symbol) {
    return SystemVfs(v)->xDlSym(SystemVfs(v), library, symbol);
  };
  vfs.xDlClose = [](sqlite3_vfs* v, void* library) {
    SystemVfs(v)->xDlClose(SystemVfs(v), library);
  };
  vfs.xRandomness = [](sqlite3_vfs* v, int size, char* out) {
    return SystemVfs(v)->xRandomness(SystemVfs(v), size, out);
  };
  vfs.xSleep = [](sqlite3_vfs* v, int micros) {
    return SystemVfs(v)->xSleep(SystemVfs(v), micros);
  };
  vfs.xCurrentTime = [](sqlite3_vfs* v, double* out) {
    return SystemVfs(v)->xCurrentTime(SystemVfs(v), out);
  };
  vfs.xGetLastError = [](sqlite3_vfs*, int, char*) { return 0; };
  vfs.xCurrentTimeInt64 = [](sqlite3_vfs* v, sqlite3_int64* out) {
    return SystemVfs(v)->xCurrentTimeInt64(SystemVfs(v), out);
  };
  return vfs;
}

}  // namespace

void InstallMemoryVfs(MemoryNaming naming) {
  static sqlite3_vfs vfs = MakeMemoryVfs(sqlite3_vfs_find(nullptr));
  sqlite3_vfs_register(&vfs, /*makeDflt=*/1);
  MemoryFileStore::Process().SetNaming(naming);
}

}  // namespace Varnholt::Fuzzing
