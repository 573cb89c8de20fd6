// The data file on POSIX systems: a file descriptor, positional reads and
// one gathered write per append.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "KrdFileLib/PlatformFile.h"

namespace Varnholt::KrdFiles {

bool PlatformFile::Exists(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

bool PlatformFile::Remove(const std::string& path) {
  return ::unlink(path.c_str()) == 0 || errno == ENOENT;
}

std::string PlatformFile::ToUtf8(const std::string& path) { return path; }

PlatformFile::OpenResult PlatformFile::CreateNew(const std::string& path) {
  Close();
  // O_EXCL makes the existence test and the creation one step, so a file
  // that another writer creates meanwhile is refused rather than truncated.
  descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor_ >= 0) return OpenResult::kOpened;
  return errno == EEXIST ? OpenResult::kExists : OpenResult::kFailed;
}

PlatformFile::OpenResult PlatformFile::OpenExisting(const std::string& path, Access access) {
  Close();
  const int flags = access == Access::kReadOnly ? O_RDONLY : O_RDWR;
  descriptor_ = ::open(path.c_str(), flags | O_CLOEXEC);
  if (descriptor_ >= 0) return OpenResult::kOpened;
  return errno == ENOENT ? OpenResult::kMissing : OpenResult::kFailed;
}

void PlatformFile::Close() noexcept {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

bool PlatformFile::IsOpen() const { return descriptor_ >= 0; }

std::optional<uint64_t> PlatformFile::Size() const {
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0) return std::nullopt;
  return static_cast<uint64_t>(status.st_size);
}

std::optional<std::size_t> PlatformFile::ReadAt(uint64_t offset, std::span<uint8_t> into) {
  std::size_t done = 0;
  while (done < into.size()) {
    const ssize_t got = ::pread(descriptor_, into.data() + done, into.size() - done,
                                static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

bool PlatformFile::WritePieces(uint64_t offset,
                               std::span<const std::span<const uint8_t>> pieces) {
  // One gathered write for all pieces; a short write resumes where the
  // kernel stopped, dropping the pieces it finished and trimming the next.
  std::array<iovec, 8> vectors{};
  if (pieces.size() > vectors.size()) return false;
  std::size_t count = 0;
  for (const auto piece : pieces) {
    if (piece.empty()) continue;
    vectors[count++] = iovec{const_cast<uint8_t*>(piece.data()), piece.size()};
  }
  iovec* next = vectors.data();
  while (count > 0) {
    const ssize_t put = ::pwritev(descriptor_, next, static_cast<int>(count),
                                  static_cast<off_t>(offset));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    offset += static_cast<uint64_t>(put);
    for (auto done = static_cast<std::size_t>(put); done > 0;) {
      const std::size_t step = std::min(done, next->iov_len);
      next->iov_base = static_cast<uint8_t*>(next->iov_base) + step;
      next->iov_len -= step;
      done -= step;
      if (next->iov_len == 0) {
        ++next;
        --count;
      }
    }
  }
  return true;
}

bool PlatformFile::SetLength(uint64_t length) {
  return ::ftruncate(descriptor_, static_cast<off_t>(length)) == 0;
}

bool PlatformFile::SyncToDisk() {
  while (::fdatasync(descriptor_) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

}  // namespace Varnholt::KrdFiles
