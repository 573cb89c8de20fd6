#include "KrdFileLib/KrdInstance.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Packets/PacketBase.h"

namespace Varnholt::KrdFiles {

KrdInstance::KrdInstance(std::string path) : path_(std::move(path)) {}

KrdInstance::~KrdInstance() { Close(); }

bool KrdInstance::Exists() const {
  std::error_code error;
  const auto type = std::filesystem::status(path_, error).type();
  return type != std::filesystem::file_type::none && type != std::filesystem::file_type::not_found;
}

void KrdInstance::Create() {
  if (Exists()) throw Errors::KrdFileAlreadyExists();
  Close();
  // O_EXCL makes the existence test and the creation one step, so a file
  // that another writer creates meanwhile is refused rather than truncated.
  descriptor_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor_ < 0) {
    if (errno == EEXIST) throw Errors::KrdFileAlreadyExists();
    throw Errors::KrdFileCreateFailed();
  }
  own_end_ = 0;
}

void KrdInstance::Open() {
  Close();
  descriptor_ = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
  if (descriptor_ < 0) {
    if (Exists()) throw Errors::KrdFileOpenFailed(path_);
    throw Errors::KrdFileDoesNotExist();
  }
}

void KrdInstance::Close() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
    descriptor_ = -1;
  }
  own_end_.reset();
}

void KrdInstance::RequireOpen() const {
  if (descriptor_ < 0) throw Errors::KrdFileNotOpen();
}

uint64_t KrdInstance::GetEndOffset() const {
  RequireOpen();
  if (own_end_) return *own_end_;
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0) throw Errors::KrdFileOpenFailed(path_);
  return static_cast<uint64_t>(status.st_size);
}

void KrdInstance::RequireRange(uint64_t offset, uint64_t count) const {
  const uint64_t end = GetEndOffset();
  if (offset > end || count > end - offset) throw Errors::KrdFileEndedUnexpectedly();
}

void KrdInstance::ReadBytes(uint64_t offset, uint64_t count, std::vector<uint8_t>& buffer) {
  RequireRange(offset, count);
  buffer.resize(count);
  ReadInto(offset, buffer);
}

void KrdInstance::ReadInto(uint64_t offset, std::span<uint8_t> into) {
  if (ReadAvailable(offset, into) != into.size()) throw Errors::KrdFileEndedUnexpectedly();
}

std::size_t KrdInstance::ReadAvailable(uint64_t offset, std::span<uint8_t> into) {
  RequireOpen();
  std::size_t done = 0;
  while (done < into.size()) {
    const ssize_t got = ::pread(descriptor_, into.data() + done, into.size() - done,
                                static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw Errors::KrdFileEndedUnexpectedly();
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

bool KrdInstance::WriteAll(uint64_t offset, std::span<const std::span<const uint8_t>> pieces) {
  // One gathered write for all pieces; a short write resumes where the
  // kernel stopped, dropping the pieces it finished and trimming the next.
  std::array<iovec, kMaxPieces> vectors{};
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

void KrdInstance::Append(std::span<const uint8_t> bytes) {
  const std::span<const uint8_t> pieces[] = {bytes};
  AppendPieces(pieces);
}

void KrdInstance::AppendPieces(std::span<const std::span<const uint8_t>> pieces) {
  const uint64_t end = GetEndOffset();
  if (!WriteAll(end, pieces)) {
    // Cut a torn packet back off so that the file still ends on a packet
    // boundary and the next append lands where the index expects it.
    [[maybe_unused]] const int ignored = ::ftruncate(descriptor_, static_cast<off_t>(end));
    throw Errors::KrdFileWriteFailed();
  }
  if (own_end_) {
    for (const auto piece : pieces) *own_end_ += piece.size();
  }
}

void KrdInstance::WriteAt(uint64_t offset, std::span<const uint8_t> bytes) {
  RequireOpen();
  const std::span<const uint8_t> pieces[] = {bytes};
  if (!WriteAll(offset, pieces)) throw Errors::KrdFileWriteFailed();
  if (own_end_) own_end_ = std::max(*own_end_, offset + bytes.size());
}

void KrdInstance::AssignEndOffset(Packets::PacketBase& packet) const {
  packet.SetFileOffset(GetEndOffset());
}

void KrdInstance::WritePacket(Packets::PacketBase& packet) {
  RequireOpen();
  // The frame and encoded fields, then the payload from where it lies: a
  // data block's samples are never copied on their way to the file.
  const Packets::Bytes head = packet.GetHead();
  const std::span<const uint8_t> payload = packet.Payload();
  packet.SetPacketSize(head.size() + payload.size());
  const std::span<const uint8_t> pieces[] = {head, payload};
  AppendPieces(pieces);
}

void KrdInstance::RewriteInPlace(Packets::PacketBase& packet) {
  RequireOpen();
  const Packets::Bytes image = packet.GetImage();
  packet.SetPacketSize(image.size());
  WriteAt(packet.FileOffset(), image);
}

}  // namespace Varnholt::KrdFiles
