#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CommonLib/IClock.h"
#include "CommonLib/NonCopyableClassBase.h"
#include "CommonLib/PolymorphicBasedClassBase.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/KrdInstance.h"

namespace Varnholt::KrdFiles {

namespace Packets {
class PacketBase;
}

// One open recording: the pair of a KRD data file and its KRQ index, and
// every operation a host runs on it. The table of open files hands these out
// by handle. Each operation holds the object's recursive mutex for its whole
// run (the maintenance thread takes it too for its timed index commit).
//
// The mode classes differ only in how they open the pair and in which
// families of operations they refuse: appending new content (record mode
// only), modifying the recording (not in read mode; in edit and reindex mode
// only the index changes, because only a recorder writes packets), reading
// (always), and rebuilding the index (reindex mode only).
class KrfFileBase : public CommonLib::PolymorphicBasedClassBase,
                    public CommonLib::NonCopyableClassBase {
 public:
  using Bytes = std::vector<uint8_t>;

  KrfFileBase(std::string krd_path, std::string krq_path,
              std::shared_ptr<FileLibrarySettings> settings,
              std::shared_ptr<const CommonLib::IClock> clock);

  // Opens or creates the pair as the mode requires.
  virtual void Open() = 0;
  // Commits the index and closes both files.
  virtual void Close();
  // Rebuilds the index from the data file; reindex mode only (code 42).
  virtual void Reindex();
  // The maintenance pass on this file: commits the index's open batch once
  // its commit interval has passed, and lets an index that has only read
  // since its last commit see what other connections committed.
  void MaintainIndex();

  // The recording's header, time base, start and annotation.
  void CreateHeader(uint32_t time_base, uint16_t device_id, const std::string& label);
  void SetTimeBase(uint32_t time_base);
  uint32_t GetTimeBase();
  void SetFileLabel(const std::string& label);
  std::string GetFileLabel();
  void CreateStart(uint16_t data_type, const Bytes& value);
  void SetStart(uint16_t data_type, const Bytes& value);
  uint16_t GetStartDataType();
  Bytes GetRTStart();
  void CreateAnnotation(const std::string& text);
  void SetAnnotation(const std::string& text);
  std::string GetAnnotation();

  std::recursive_mutex& Mutex() { return mutex_; }

 protected:
  // Refusals by mode: appending new content, and changing the recording.
  virtual void CheckRecordAllowed() const {}
  virtual void CheckModifyAllowed() const {}
  // Puts a packet that an operation has built and indexed into the data
  // file; only a recorder writes.
  virtual void CommitPacket(Packets::PacketBase& /*packet*/) {}

  // The opening steps the modes combine.
  void CheckHeader();
  void CheckGuid();

  KrdInstance data_file_;
  Index::IndexConnection index_;
  std::shared_ptr<FileLibrarySettings> settings_;

 private:
  std::recursive_mutex mutex_;
};

}  // namespace Varnholt::KrdFiles
