#include "KrdFileLib/Recovery/SideFiles.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <vector>

#if !defined(_WIN32)
#include <fcntl.h>
#include <unistd.h>
#endif

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/DataFile/KrdInstance.h"
#include "KrdFileLib/DataFile/PlatformFile.h"

namespace Varnholt::KrdFiles::Recovery {

namespace {

constexpr const char* kIndexCompanions[] = {"", "-wal", "-shm", "-journal"};
// Names tried after base before giving up: base, base-1, ... base-999.
constexpr int kNamesTried = 1000;
constexpr uint64_t kCopyChunk = 1024 * 1024;

std::string Numbered(const std::string& base, int number) {
  return number == 0 ? base : base + "-" + std::to_string(number);
}

// Creates the first free name after base and opens it; creation refuses a
// name that exists, so a name taken meanwhile is skipped, never reused.
std::string CreateFirstFree(PlatformFile& out, const std::string& base) {
  for (int number = 0; number < kNamesTried; ++number) {
    const std::string path = Numbered(base, number);
    switch (out.CreateNew(path)) {
      case PlatformFile::OpenResult::kOpened:
        return path;
      case PlatformFile::OpenResult::kExists:
        continue;
      default:
        throw Errors::SideFileNotWritten(path);
    }
  }
  throw Errors::SideFileNotWritten(base);
}

void CopyBytes(KrdInstance& file, uint64_t offset, uint64_t count, PlatformFile& out,
               const std::string& out_path) {
  std::vector<uint8_t> chunk;
  for (uint64_t done = 0; done < count;) {
    chunk.resize(std::min(kCopyChunk, count - done));
    file.ReadInto(offset + done, chunk);
    const std::span<const uint8_t> pieces[] = {chunk};
    if (!out.WriteAt(done, pieces)) throw Errors::SideFileNotWritten(out_path);
    done += chunk.size();
  }
  if (!out.Sync()) throw Errors::SideFileNotWritten(out_path);
}

bool IndexNameFree(const std::string& path) {
  return std::none_of(std::begin(kIndexCompanions), std::end(kIndexCompanions),
                      [&](const char* suffix) { return PlatformFile::Exists(path + suffix); });
}

}  // namespace

std::string CopyAside(KrdInstance& file, uint64_t offset, uint64_t count, const std::string& base) {
  PlatformFile out;
  const std::string path = CreateFirstFree(out, base);
  try {
    CopyBytes(file, offset, count, out, path);
  } catch (...) {
    out.Close();
    PlatformFile::Remove(path);
    throw;
  }
  out.Close();
  SyncFolderOf(path);
  return path;
}

std::optional<std::string> MoveIndexAside(const std::string& path, const std::string& base) {
  if (!PlatformFile::Exists(path)) return std::nullopt;
  for (int number = 0; number < kNamesTried; ++number) {
    const std::string side = Numbered(base, number);
    if (!IndexNameFree(side)) continue;
    MoveIndex(path, side);
    return side;
  }
  throw Errors::IndexNotReplaced(path);
}

void MoveIndex(const std::string& from, const std::string& to) {
  // The main file first: until it has moved, the companions still belong
  // to it where it is.
  for (const char* suffix : kIndexCompanions) {
    const std::string source = from + suffix;
    if (!PlatformFile::Exists(source)) continue;
    if (std::rename(source.c_str(), (to + suffix).c_str()) != 0) {
      throw Errors::IndexNotReplaced(from);
    }
  }
  SyncFolderOf(to);
}

void RemoveIndex(const std::string& path) {
  for (const char* suffix : kIndexCompanions) PlatformFile::Remove(path + suffix);
}

void SyncFolderOf(const std::string& path) {
#if !defined(_WIN32)
  // Best effort: some file systems refuse to sync a folder, and then there
  // is nothing more that can be done for its entries.
  const auto slash = path.find_last_of('/');
  const std::string folder =
      slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
#else
  (void)path;  // NTFS journals its folder entries
#endif
}

}  // namespace Varnholt::KrdFiles::Recovery
