#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/File/KrfFileBase.h"

namespace Varnholt::KrdFiles {

// The process's table of open files. A host names an open recording by a
// small handle: handle h is slot h - 1, 0 is never issued, and the lowest free
// slot is reused first. Beside each file slot the table keeps that handle's
// most recent error message, which outlives the file's close so that a host
// can still ask why a call on a closed handle failed.
//
// One recursive lock guards both arrays and is held only inside the table's
// own operations, never while a file operation runs.
class KrfFileTable : public CommonLib::NonCopyableClassBase {
 public:
  explicit KrfFileTable(std::shared_ptr<FileLibrarySettings> settings);

  // Enters a newly opened file and returns its handle.
  uint32_t Issue(std::shared_ptr<KrfFileBase> file);
  // The file of a handle; code 7 for handle 0, an unknown handle, or a
  // handle whose file has been closed.
  std::shared_ptr<KrfFileBase> Fetch(uint32_t handle) const;
  // Frees the handle's slot and clears its message, then closes the file.
  // The slot is reusable as soon as this returns or throws.
  void Close(uint32_t handle);

  // Stores the outcome text of a call on the handle. Unlike Fetch, a closed
  // handle's slot is written; handle 0 or an unknown handle raises code 7.
  void RecordMessage(uint32_t handle, const std::string& message);
  // The handle's most recent message, or nothing for handle 0 or a handle
  // that was never issued.
  std::optional<std::string> MostRecentMessage(uint32_t handle) const;

  // For the maintenance pass: the number of slots ever issued and the file in
  // one slot (empty when closed). Each call takes the lock on its own.
  std::size_t SlotCount() const;
  std::shared_ptr<KrfFileBase> FileInSlot(std::size_t slot) const;

  const std::shared_ptr<FileLibrarySettings>& Settings() const { return settings_; }

 private:
  std::shared_ptr<KrfFileBase> FetchLocked(uint32_t handle) const;
  void CheckIssued(uint32_t handle) const;

  std::vector<std::shared_ptr<KrfFileBase>> files_;
  std::vector<std::string> messages_;  // always as long as files_
  mutable std::recursive_mutex lock_;
  std::shared_ptr<FileLibrarySettings> settings_;
};

}  // namespace Varnholt::KrdFiles
