#include "KrdFileLib/DataFile/KrdInstance.h"

#include <algorithm>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Packets/PacketBase.h"

namespace Varnholt::KrdFiles {

using OpenResult = PlatformFile::OpenResult;

KrdInstance::KrdInstance(std::string path) : path_(std::move(path)) {}

KrdInstance::~KrdInstance() { Close(); }

bool KrdInstance::Exists() const { return PlatformFile::Exists(path_); }

void KrdInstance::Create() {
  if (Exists()) throw Errors::KrdFileAlreadyExists();
  Close();
  switch (file_.CreateNew(path_)) {
    case OpenResult::kOpened:
      own_end_ = 0;
      return;
    case OpenResult::kExists:
      throw Errors::KrdFileAlreadyExists();
    default:
      throw Errors::KrdFileCreateFailed();
  }
}

void KrdInstance::Open() { OpenExisting(PlatformFile::Access::kReadWrite); }

void KrdInstance::OpenForReading() { OpenExisting(PlatformFile::Access::kReadOnly); }

void KrdInstance::OpenExisting(PlatformFile::Access access) {
  Close();
  if (file_.OpenExisting(path_, access) == OpenResult::kOpened) return;
  if (Exists()) throw Errors::KrdFileOpenFailed(path_);
  throw Errors::KrdFileDoesNotExist();
}

void KrdInstance::LockAsWriter() {
  RequireOpen();
  if (!file_.TryLockAsWriter()) throw Errors::KrdFileInUse(path_);
}

void KrdInstance::Close() {
  file_.Close();
  own_end_.reset();
}

void KrdInstance::RequireOpen() const {
  if (!file_.IsOpen()) throw Errors::KrdFileNotOpen();
}

uint64_t KrdInstance::GetEndOffset() const {
  RequireOpen();
  if (own_end_) return *own_end_;
  const std::optional<uint64_t> size = file_.Size();
  if (!size) throw Errors::KrdFileOpenFailed(path_);
  return *size;
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
  const std::optional<std::size_t> got = file_.ReadAt(offset, into);
  if (!got) throw Errors::KrdFileEndedUnexpectedly();
  return *got;
}

void KrdInstance::Append(std::span<const uint8_t> bytes) {
  const std::span<const uint8_t> pieces[] = {bytes};
  AppendPieces(pieces);
}

void KrdInstance::AppendPieces(std::span<const std::span<const uint8_t>> pieces) {
  const uint64_t end = GetEndOffset();
  if (!file_.WriteAt(end, pieces)) {
    // Cut a torn packet back off so that the file still ends on a packet
    // boundary and the next append lands where the index expects it.
    file_.Truncate(end);
    throw Errors::KrdFileWriteFailed();
  }
  if (own_end_) {
    for (const auto piece : pieces) *own_end_ += piece.size();
  }
}

void KrdInstance::WriteAt(uint64_t offset, std::span<const uint8_t> bytes) {
  RequireOpen();
  const std::span<const uint8_t> pieces[] = {bytes};
  if (!file_.WriteAt(offset, pieces)) throw Errors::KrdFileWriteFailed();
  if (own_end_) own_end_ = std::max(*own_end_, offset + bytes.size());
}

void KrdInstance::Sync() {
  RequireOpen();
  if (!file_.Sync()) throw Errors::KrdFileWriteFailed();
}

void KrdInstance::TruncateTo(uint64_t length) {
  RequireOpen();
  if (!file_.Truncate(length)) throw Errors::KrdFileWriteFailed();
  if (own_end_) own_end_ = length;
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
