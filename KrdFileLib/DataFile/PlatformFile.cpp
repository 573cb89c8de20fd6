// What the data file's calls share on every system: the fault probe that
// tests install sits here, in front of the system's own writes.

#include "KrdFileLib/DataFile/PlatformFile.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "KrdFileLib/DataFile/FileFaultProbe.h"

namespace Varnholt::KrdFiles {

namespace {

std::atomic<FileFaultProbe*> installed_probe{nullptr};

// Pieces one gathered write takes at most.
constexpr std::size_t kMaxPieces = 8;

}  // namespace

void SetFileFaultProbe(FileFaultProbe* probe) { installed_probe.store(probe); }

FileFaultProbe* InstalledFileFaultProbe() { return installed_probe.load(); }

std::optional<uint64_t> PlatformFile::SizeOf(const std::string& path) {
  PlatformFile file;
  if (file.OpenExisting(path, Access::kReadOnly) != OpenResult::kOpened) return std::nullopt;
  return file.Size();
}

bool PlatformFile::WriteAt(uint64_t offset, std::span<const std::span<const uint8_t>> pieces) {
  if (pieces.size() > kMaxPieces) return false;
  FileFaultProbe* probe = InstalledFileFaultProbe();
  if (probe == nullptr) return WritePieces(offset, pieces);
  std::size_t total = 0;
  for (const auto piece : pieces) total += piece.size();
  std::size_t allowed = probe->BytesAllowed(FileFaultProbe::Call::kWrite, total);
  if (allowed >= total) return WritePieces(offset, pieces);
  // The first allowed bytes reach the file, as when a disk fills mid-write.
  std::array<std::span<const uint8_t>, kMaxPieces> torn{};
  std::size_t count = 0;
  for (const auto piece : pieces) {
    const std::size_t take = std::min(allowed, piece.size());
    torn[count++] = piece.first(take);
    allowed -= take;
  }
  WritePieces(offset, std::span(torn.data(), count));
  probe->AfterFailure(FileFaultProbe::Call::kWrite);
  return false;
}

bool PlatformFile::Sync() {
  if (FileFaultProbe* probe = InstalledFileFaultProbe();
      probe != nullptr && probe->BytesAllowed(FileFaultProbe::Call::kSync, 1) == 0) {
    probe->AfterFailure(FileFaultProbe::Call::kSync);
    return false;
  }
  return SyncToDisk();
}

bool PlatformFile::Truncate(uint64_t length) {
  if (FileFaultProbe* probe = InstalledFileFaultProbe();
      probe != nullptr && probe->BytesAllowed(FileFaultProbe::Call::kTruncate, 1) == 0) {
    probe->AfterFailure(FileFaultProbe::Call::kTruncate);
    return false;
  }
  return SetLength(length);
}

}  // namespace Varnholt::KrdFiles
