#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "CommonLib/NonCopyableClassBase.h"

namespace Varnholt::KrdFiles {

// The operating system's side of a data file: one open file and the few
// calls the data file stream makes on it, with 64-bit offsets throughout so
// that a 32-bit process reaches past 4 GiB. PlatformFilePosix.cpp and
// PlatformFileWin32.cpp implement it; what each call means for a recording
// (codes, messages, cutting back a torn append) is KrdInstance's.
//
// Paths are the host's bytes: on Windows in the system's ANSI code page, as
// the host's own file functions take them. While a file is open, another
// process may open the same recording to read it; one that means to write
// it takes the writer's lock first (TryLockAsWriter).
class PlatformFile : public CommonLib::NonCopyableClassBase {
 public:
  enum class OpenResult { kOpened, kMissing, kExists, kFailed };
  enum class Access { kReadWrite, kReadOnly };
  // What is at a path: nothing, a regular file, or something else (a
  // folder, a pipe, a device).
  enum class Kind { kMissing, kRegular, kOther };

  // Which file a path names, by the system's own identity of the file and
  // not by the path's spelling (links, "." and ".." and, on Windows, case
  // make no difference). A file that exists is its volume and file number;
  // one that does not exist yet is the folder it would be created in and
  // its final name; when that folder does not exist either, the path
  // itself. Two paths name the same file exactly when their identities are
  // equal.
  struct Identity {
    uint64_t volume = 0;
    uint64_t file = 0;
    std::string name;
    bool operator==(const Identity&) const = default;
  };

  PlatformFile() = default;
  ~PlatformFile() { Close(); }

  // True when something exists at the path (a directory counts).
  static bool Exists(const std::string& path);
  // The length of the file at path, or nothing when it cannot be opened.
  static std::optional<uint64_t> SizeOf(const std::string& path);
  // Removes the file at path, if any; false when it could not be removed.
  static bool Remove(const std::string& path);
  // The path as SQLite takes file names (UTF-8).
  static std::string ToUtf8(const std::string& path);
  // Follows links; never opens a pipe or a device for reading or writing.
  static Kind KindOf(const std::string& path);
  static Identity IdentityOf(const std::string& path);

  // A new empty file, read and write; kExists when something is already at
  // the path, which is never replaced.
  OpenResult CreateNew(const std::string& path);
  // An existing regular file, read and write or read only; kMissing when
  // there is none. A folder, pipe or device is kFailed, without waiting for
  // a pipe's other end.
  OpenResult OpenExisting(const std::string& path, Access access = Access::kReadWrite);
  void Close() noexcept;
  bool IsOpen() const;

  // The file's length, or nothing when the system cannot tell.
  std::optional<uint64_t> Size() const;
  // Reads up to into.size() bytes at offset; how many there were (fewer at
  // the end of the file), or nothing on a read error.
  std::optional<std::size_t> ReadAt(uint64_t offset, std::span<uint8_t> into);
  // Writes the pieces back to back from offset, resuming after short
  // writes; false when not all of them could be written.
  bool WriteAt(uint64_t offset, std::span<const std::span<const uint8_t>> pieces);
  // Cuts the file to length bytes.
  bool Truncate(uint64_t length);
  // Hands what was written to the storage device (its data, and the
  // metadata needed to read it back); false when the system reports an
  // error.
  bool Sync();
  // Takes the lock that the one writer of a file holds for as long as it
  // keeps the file open (released by Close), without waiting; false when
  // another open of the file, in this process or another, holds it. A
  // file system that keeps no locks grants it. Readers take no lock: on
  // Windows the lock covers one byte far past any file's end, so that it
  // never stands in a reader's way.
  bool TryLockAsWriter();

 private:
  // The system's own calls behind WriteAt, Truncate and Sync, which first
  // ask the installed FileFaultProbe (PlatformFile.cpp).
  bool WritePieces(uint64_t offset, std::span<const std::span<const uint8_t>> pieces);
  bool SetLength(uint64_t length);
  bool SyncToDisk();

#if defined(_WIN32)
  void* handle_ = nullptr;
#else
  int descriptor_ = -1;
#endif
};

}  // namespace Varnholt::KrdFiles
