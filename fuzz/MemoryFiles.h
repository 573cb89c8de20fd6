#pragma once

// The files of the fuzz targets' in-memory SQLite VFS (MemoryVfs.h): their
// bytes, the locks their connections hold, and a database's shared memory
// (the write-ahead log's index), kept by name in one store per process.

#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Varnholt::Fuzzing {

// One file held in memory. A database's lock levels and its shared memory
// live here, beside its bytes, so that every connection to it meets them,
// as connections to a file on disk meet in the file system. One process,
// so locks are counts and owners instead of byte ranges; the owners are
// the connections' file handles.
struct MemoryFile {
  std::vector<uint8_t> bytes;

  // Database locks: the handles at SHARED or above, and the one handle at
  // RESERVED, PENDING or EXCLUSIVE with its level.
  int shared_holders = 0;
  const void* writer = nullptr;
  int writer_level = SQLITE_LOCK_NONE;

  // Shared memory: its regions, the handles that map them, and per lock
  // slot the handles that hold it shared and the one that holds it
  // exclusive. The regions go when the last handle lets go, as SQLite
  // rebuilds them from the log for the next connection.
  std::vector<std::unique_ptr<uint8_t[]>> regions;
  int region_users = 0;
  std::array<int, SQLITE_SHM_NLOCK> slot_sharers{};
  std::array<const void*, SQLITE_SHM_NLOCK> slot_owner{};
};

// How names reach the files of the store.
enum class MemoryNaming {
  // Names exist in the store only: nothing touches the file system.
  kInMemory,
  // Every file also has an empty placeholder at its path, and the store
  // finds a file's bytes by its placeholder's inode, so that what code
  // outside SQLite does to the paths (asking whether they exist, renaming,
  // removing) reaches the files: a renamed placeholder takes its bytes
  // with it.
  kPlaceholderOnDisk,
};

// The process's files, by name; thread-safe through Mutex(), which the
// VFS holds for each call.
class MemoryFileStore {
 public:
  static MemoryFileStore& Process();

  void SetNaming(MemoryNaming naming);
  std::mutex& Mutex() { return mutex_; }

  // The file at path, or null when there is none. The caller holds Mutex().
  std::shared_ptr<MemoryFile> Find(const std::string& path);
  // The file at path, made empty when there is none; null when the name
  // cannot be made. The caller holds Mutex().
  std::shared_ptr<MemoryFile> FindOrCreate(const std::string& path);
  // Takes the name away from its file (handles keep the bytes they have);
  // false when there was none. The caller holds Mutex().
  bool Remove(const std::string& path);

  // For the fuzz targets, which do not hold Mutex(): replaces the file at
  // path with bytes, reads it, and forgets every file.
  void Put(const std::string& path, const uint8_t* data, std::size_t size);
  std::vector<uint8_t> Read(const std::string& path);
  void Clear();

 private:
  // The store's key for path: the path itself, or its placeholder's
  // device and inode; empty when the placeholder is missing.
  std::string KeyOf(const std::string& path) const;
  // Makes path's placeholder (kPlaceholderOnDisk); its key, or empty.
  std::string CreatePlaceholder(const std::string& path) const;
  // A new empty file, with a buffer that an earlier file left.
  std::shared_ptr<MemoryFile> NewFile();
  // Keeps the buffer of a file that nothing refers to any more, so that
  // the next file grows in place instead of through fresh memory.
  void Recycle(std::shared_ptr<MemoryFile> file);

  std::mutex mutex_;
  MemoryNaming naming_ = MemoryNaming::kInMemory;
  std::map<std::string, std::shared_ptr<MemoryFile>> files_;
  std::vector<std::vector<uint8_t>> spare_buffers_;
};

}  // namespace Varnholt::Fuzzing
