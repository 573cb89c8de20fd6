#include "KrdFileLib/KrdInstance.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
}

void KrdInstance::RequireOpen() const {
  if (descriptor_ < 0) throw Errors::KrdFileNotOpen();
}

uint64_t KrdInstance::GetEndOffset() const {
  RequireOpen();
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0) throw Errors::KrdFileOpenFailed(path_);
  return static_cast<uint64_t>(status.st_size);
}

void KrdInstance::ReadBytes(uint64_t offset, uint64_t count, std::vector<uint8_t>& buffer) {
  const uint64_t end = GetEndOffset();
  if (offset > end || count > end - offset) throw Errors::KrdFileEndedUnexpectedly();
  buffer.resize(count);
  uint64_t done = 0;
  while (done < count) {
    const ssize_t got = ::pread(descriptor_, buffer.data() + done, count - done,
                                static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) throw Errors::KrdFileEndedUnexpectedly();
    done += static_cast<uint64_t>(got);
  }
}

bool KrdInstance::WriteAll(uint64_t offset, std::span<const uint8_t> bytes) {
  uint64_t done = 0;
  while (done < bytes.size()) {
    const ssize_t put = ::pwrite(descriptor_, bytes.data() + done, bytes.size() - done,
                                 static_cast<off_t>(offset + done));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<uint64_t>(put);
  }
  return true;
}

void KrdInstance::Append(std::span<const uint8_t> bytes) {
  const uint64_t end = GetEndOffset();
  if (!WriteAll(end, bytes)) {
    // Cut a torn packet back off so that the file still ends on a packet
    // boundary and the next append lands where the index expects it.
    [[maybe_unused]] const int ignored = ::ftruncate(descriptor_, static_cast<off_t>(end));
    throw Errors::KrdFileWriteFailed();
  }
}

void KrdInstance::WriteAt(uint64_t offset, std::span<const uint8_t> bytes) {
  RequireOpen();
  if (!WriteAll(offset, bytes)) throw Errors::KrdFileWriteFailed();
}

void KrdInstance::AssignEndOffset(Packets::PacketBase& packet) const {
  packet.SetFileOffset(GetEndOffset());
}

void KrdInstance::WritePacket(Packets::PacketBase& packet) {
  RequireOpen();
  const Packets::Bytes image = packet.GetImage();
  packet.SetPacketSize(image.size());
  Append(image);
}

void KrdInstance::RewriteInPlace(Packets::PacketBase& packet) {
  RequireOpen();
  const Packets::Bytes image = packet.GetImage();
  packet.SetPacketSize(image.size());
  WriteAt(packet.FileOffset(), image);
}

}  // namespace Varnholt::KrdFiles
