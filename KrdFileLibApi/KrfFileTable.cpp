#include "KrdFileLibApi/KrfFileTable.h"

#include <algorithm>

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles {

KrfFileTable::KrfFileTable(std::shared_ptr<FileLibrarySettings> settings)
    : settings_(std::move(settings)) {}

uint32_t KrfFileTable::Issue(std::shared_ptr<KrfFileBase> file) {
  std::lock_guard lock(lock_);
  auto free_slot = std::find(files_.begin(), files_.end(), nullptr);
  if (free_slot == files_.end()) {
    files_.emplace_back();
    messages_.emplace_back();
    free_slot = files_.end() - 1;
  }
  *free_slot = std::move(file);
  return static_cast<uint32_t>(free_slot - files_.begin()) + 1;
}

void KrfFileTable::CheckIssued(uint32_t handle) const {
  if (handle == 0) throw Errors::FileHandleNull();
  if (handle > files_.size()) throw Errors::FileHandleInvalid();
}

std::shared_ptr<KrfFileBase> KrfFileTable::FetchLocked(uint32_t handle) const {
  CheckIssued(handle);
  std::shared_ptr<KrfFileBase> file = files_[handle - 1];
  if (!file) throw Errors::FileHandleClosed();
  return file;
}

std::shared_ptr<KrfFileBase> KrfFileTable::Fetch(uint32_t handle) const {
  std::lock_guard lock(lock_);
  return FetchLocked(handle);
}

void KrfFileTable::Close(uint32_t handle) {
  std::shared_ptr<KrfFileBase> file;
  {
    // Lookup and emptying happen under one lock hold, so two threads closing
    // the same handle cannot both close the file.
    std::lock_guard lock(lock_);
    file = FetchLocked(handle);
    files_[handle - 1].reset();
    messages_[handle - 1].clear();
  }
  file->Close();
}

void KrfFileTable::RecordMessage(uint32_t handle, const std::string& message) {
  std::lock_guard lock(lock_);
  CheckIssued(handle);
  messages_[handle - 1] = message;
}

std::optional<std::string> KrfFileTable::MostRecentMessage(uint32_t handle) const {
  std::lock_guard lock(lock_);
  if (handle == 0 || handle > messages_.size()) return std::nullopt;
  return messages_[handle - 1];
}

std::size_t KrfFileTable::SlotCount() const {
  std::lock_guard lock(lock_);
  return files_.size();
}

std::shared_ptr<KrfFileBase> KrfFileTable::FileInSlot(std::size_t slot) const {
  std::lock_guard lock(lock_);
  return slot < files_.size() ? files_[slot] : nullptr;
}

}  // namespace Varnholt::KrdFiles
