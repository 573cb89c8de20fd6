// The data file on POSIX systems: a file descriptor, positional reads and
// one gathered write per append.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include "KrdFileLib/DataFile/PlatformFile.h"

namespace Varnholt::KrdFiles {

namespace {

// More links in a row than this are a loop, as the system itself counts.
constexpr int kMaxLinksFollowed = 40;

// The text of the link at path, or nothing when it is no link.
std::optional<std::string> LinkText(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return std::nullopt;
  std::vector<char> text(static_cast<std::size_t>(std::max<off_t>(status.st_size, 0)) + 256);
  const ssize_t length = ::readlink(path.c_str(), text.data(), text.size());
  if (length <= 0 || static_cast<std::size_t>(length) >= text.size()) return std::nullopt;
  return std::string(text.data(), static_cast<std::size_t>(length));
}

// The folder part of path, with its slash ("" for a bare name).
std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace

bool PlatformFile::Exists(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

bool PlatformFile::Remove(const std::string& path) {
  return ::unlink(path.c_str()) == 0 || errno == ENOENT;
}

std::string PlatformFile::ToUtf8(const std::string& path) { return path; }

PlatformFile::Kind PlatformFile::KindOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return Kind::kMissing;
  return S_ISREG(status.st_mode) ? Kind::kRegular : Kind::kOther;
}

PlatformFile::Identity PlatformFile::IdentityOf(const std::string& path) {
  std::string target = path;
  struct stat status {};
  for (int links = 0; links <= kMaxLinksFollowed; ++links) {
    if (::stat(target.c_str(), &status) == 0) {
      return Identity{
          static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino), {}};
    }
    // A link to a file not there yet names the file that creating it makes.
    const std::optional<std::string> link = LinkText(target);
    if (!link) break;
    target = link->front() == '/' ? *link : FolderOf(target) + *link;
  }
  const std::string folder = FolderOf(target);
  if (::stat(folder.empty() ? "." : folder.c_str(), &status) != 0) return Identity{0, 0, target};
  return Identity{static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino),
                  target.substr(folder.size())};
}

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
  // Opened without waiting, so that a pipe without a writer does not hold
  // the caller up; anything but a regular file is refused once it is open.
  const int flags = access == Access::kReadOnly ? O_RDONLY : O_RDWR;
  const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) return errno == ENOENT ? OpenResult::kMissing : OpenResult::kFailed;
  descriptor_ = descriptor;
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode) ||
      ::fcntl(descriptor_, F_SETFL, ::fcntl(descriptor_, F_GETFL) & ~O_NONBLOCK) != 0) {
    Close();
    return OpenResult::kFailed;
  }
  return OpenResult::kOpened;
}

void PlatformFile::Close() noexcept {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

bool PlatformFile::IsOpen() const { return descriptor_ >= 0; }

bool PlatformFile::TryLockAsWriter() {
  // flock, not fcntl: its locks belong to the open file, so two opens in
  // one process exclude each other as two processes do.
  while (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return false;
    if (errno != EINTR) return true;  // a file system without locks
  }
  return true;
}

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
