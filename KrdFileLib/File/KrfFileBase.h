#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CommonLib/IClock.h"
#include "CommonLib/NonCopyableClassBase.h"
#include "CommonLib/PolymorphicBasedClassBase.h"
#include "KrdFileLib/AttributeId.h"
#include "KrdFileLib/File/EntityIds.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/DataFile/KrdInstance.h"

namespace Varnholt::KrdFiles {

namespace Packets {
class PacketBase;
}
namespace Reading {
class SampleBuffer;
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
//
// The operations are grouped by family below; each family is implemented in
// a source file of its own, named after it (KrfDeviceOperations.cpp, ...).
// Every modifying operation checks in the same order: the mode, then the
// existence of what it refers to, then uniqueness, then it writes; a refused
// call changes neither file. Lookups read index rows, never packets.
//
// Every operation is all-or-nothing on the pair: it runs inside an
// OperationScope, and when it fails its index statements are rolled back to
// where it began and any packet it appended is cut back off the data file,
// so that no failure, a full disk included, undoes an earlier call.
class KrfFileBase : public CommonLib::PolymorphicBasedClassBase,
                    public CommonLib::NonCopyableClassBase {
 public:
  using Bytes = std::vector<uint8_t>;
  using Ids = std::vector<uint16_t>;
  using AttributeIds = std::vector<AttributeId>;

  KrfFileBase(std::string krd_path, std::string krq_path,
              std::shared_ptr<FileLibrarySettings> settings,
              std::shared_ptr<const CommonLib::IClock> clock);

  // Opening and closing (KrfFileBase.cpp, KrfModes.cpp) -------------------

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

  // Header, time base, start and annotation (KrfHeaderOperations.cpp) ------

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

  // Device tree and device attributes (KrfDeviceOperations.cpp) -----------

  // parent_id 65535 makes the root device, which always gets ID 0.
  uint16_t CreateDevice(uint16_t parent_id, const std::string& label);
  // Takes the device's attributes with it; its physical channels stay.
  void DeleteDevice(uint16_t device_id);
  Ids DeviceChildrenList(uint16_t device_id);
  void SetDeviceLabel(uint16_t device_id, const std::string& label);
  std::string GetDeviceLabel(uint16_t device_id);
  void CreateDeviceAttribute(uint16_t device_id, uint16_t key, uint16_t index, const Bytes& value);
  void SetDeviceAttribute(uint16_t device_id, uint16_t key, uint16_t index, const Bytes& value);
  Bytes GetDeviceAttribute(uint16_t device_id, uint16_t key, uint16_t index);
  void DeleteDeviceAttribute(uint16_t device_id, uint16_t key, uint16_t index);
  AttributeIds DeviceAttributeList(uint16_t device_id);

  // Physical channels and their attributes (KrfPhysicalChannelOperations.cpp)

  uint16_t CreatePhysicalChannel(uint16_t device_id, uint16_t channel_number,
                                 const std::string& label);
  // Takes the physical channel's attributes with it; channels and event
  // sources that name it stay.
  void DeletePhysicalChannel(uint16_t physical_channel_id);
  Ids PhysicalChannelList(uint16_t device_id);
  void SetPhysicalChannelLabel(uint16_t physical_channel_id, const std::string& label);
  std::string GetPhysicalChannelLabel(uint16_t physical_channel_id);
  uint16_t GetPhysicalChannelNbr(uint16_t physical_channel_id);
  void CreatePhysicalChannelAttribute(uint16_t physical_channel_id, uint16_t key, uint16_t index,
                                      const Bytes& value);
  void SetPhysicalChannelAttribute(uint16_t physical_channel_id, uint16_t key, uint16_t index,
                                   const Bytes& value);
  Bytes GetPhysicalChannelAttribute(uint16_t physical_channel_id, uint16_t key, uint16_t index);
  void DeletePhysicalChannelAttribute(uint16_t physical_channel_id, uint16_t key, uint16_t index);
  AttributeIds PhysicalChannelAttributeList(uint16_t physical_channel_id);

  // Channel groups (KrfChannelGroupOperations.cpp) -------------------------

  // Checks none of its arguments: the data type is checked when data is
  // recorded.
  uint16_t CreateChannelGroup(uint32_t time_base_divisor, uint8_t channel_count,
                              uint16_t data_type);
  // Refused while a channel names the group; its data blocks stay indexed.
  void DeleteChannelGroup(uint16_t group_id);
  Ids ChannelGroupList();
  void SetChGroupTimeBaseDivisor(uint16_t group_id, uint32_t time_base_divisor);
  uint32_t GetChGroupTimeBaseDivisor(uint16_t group_id);
  uint8_t GetChGroupChCount(uint16_t group_id);
  uint16_t GetChGroupDataType(uint16_t group_id);

  // Channels (KrfChannelOperations.cpp) -------------------------------------

  uint16_t CreateChannel(uint16_t group_id, uint16_t physical_channel_id,
                         uint8_t interleave_index, const std::string& label);
  // Takes the channel's post-process steps with it.
  void DeleteChannel(uint16_t channel_id);
  Ids ChannelList();
  Ids ChInGroupList(uint16_t group_id);
  Ids ChInPhysicalChannelList(uint16_t physical_channel_id);
  uint8_t GetChInterleaveIndex(uint16_t channel_id);
  void SetChLabel(uint16_t channel_id, const std::string& label);
  std::string GetChLabel(uint16_t channel_id);

  // Channel-group data (KrfDataOperations.cpp) -------------------------------

  // Records one block of whole frames of the group, the first at
  // start_time_offset; record mode only. Blocks are neither ordered nor
  // checked for overlap.
  void RecordChannelGroupData(uint16_t group_id, int64_t start_time_offset, const Bytes& samples);
  // Puts the channel's samples into samples, in time order, over length
  // ticks from start_time: forward for a positive length, backward (ending
  // at start_time) for a negative one. continuation_time receives where the
  // next read in the same direction starts: the next frame of the group
  // that way, or -1 when there is none. A result larger than samples can
  // hold is refused (code 36) before anything is read.
  void GetChannelData(uint16_t channel_id, int64_t start_time, int64_t length,
                      int64_t& continuation_time, Reading::SampleBuffer& samples);
  // The last frame time of the group's latest-starting block; 0 without blocks.
  int64_t GetMaxChGroupTime(uint16_t group_id);

  // Event sources and events (KrfEventOperations.cpp) ------------------------

  // The data type is the host's and is not checked.
  uint16_t CreateEventSource(uint16_t physical_channel_id, uint16_t data_type,
                             const std::string& label);
  // Takes the source's events with it.
  void DeleteEventSource(uint16_t event_source_id);
  Ids EventSourceList();
  // Empty for an unknown physical channel.
  Ids EventSrcInPhysicalChList(uint16_t physical_channel_id);
  uint16_t GetEventSrcDataType(uint16_t event_source_id);
  void SetEventSrcLabel(uint16_t event_source_id, const std::string& label);
  std::string GetEventSrcLabel(uint16_t event_source_id);
  // The source's latest event time; 0 without events.
  int64_t GetMaxEventSrcTime(uint16_t event_source_id);
  // Neither the order of event times nor the data's size is checked.
  uint32_t CreateEvent(uint16_t event_source_id, int64_t event_time, const Bytes& data);
  void DeleteEvent(uint32_t event_id);
  // The source's events from start_time to end_time, both included, by time.
  std::vector<uint32_t> EventList(uint16_t event_source_id, int64_t start_time, int64_t end_time);
  void SetEventTime(uint32_t event_id, int64_t event_time);
  int64_t GetEventTime(uint32_t event_id);
  void SetEventData(uint32_t event_id, const Bytes& data);
  Bytes GetEventData(uint32_t event_id);

  // Post-process chains (KrfPostProcessOperations.cpp) -----------------------

  // Adds a step at index of the channel's chain and returns its ID; refused
  // when the chain has a step at that index. Every step of the chain at or
  // above index moves up by one, whether or not one sits there.
  uint32_t CreatePostProcess(uint16_t channel_id, uint8_t index, uint16_t type, bool is_default,
                             bool is_disabled, const Bytes& data, const std::string& label,
                             bool is_unit_change, const std::string& unit);
  // As CreatePostProcess, without the refusal: the step goes before the one
  // at index.
  uint32_t InsertPostProcess(uint16_t channel_id, uint8_t index, uint16_t type, bool is_default,
                             bool is_disabled, const Bytes& data, const std::string& label,
                             bool is_unit_change, const std::string& unit);
  // The other steps keep their indexes: chains are never closed up.
  void DeletePostProcess(uint32_t post_process_id);
  std::vector<uint32_t> PostProcessList(uint16_t channel_id);
  // Moves the step to index, first moving the chain at and above index up
  // by one; the same index changes nothing.
  void SetPostProcessIndex(uint32_t post_process_id, uint8_t index);
  uint8_t GetPostProcessIndex(uint32_t post_process_id);
  void SetPostProcess(uint32_t post_process_id, uint16_t type, const Bytes& data);
  Bytes GetPostProcess(uint32_t post_process_id, uint16_t& type);
  void SetPostProcessDisable(uint32_t post_process_id, bool is_disabled);
  bool GetPostProcessDisable(uint32_t post_process_id);
  // Fixed when the step is created.
  bool GetPostProcessDefault(uint32_t post_process_id);
  void SetPostProcessUnit(uint32_t post_process_id, bool is_unit_change, const Bytes& unit);
  Bytes GetPostProcessUnit(uint32_t post_process_id, bool& is_unit_change);
  void SetPostProcessLabel(uint32_t post_process_id, const std::string& label);
  std::string GetPostProcessLabel(uint32_t post_process_id);

  std::recursive_mutex& Mutex() { return mutex_; }

  // Runs read(index, data file) as one reading operation, under the file's
  // lock like the operations above: how the reading layer
  // (Reading/RecordingReader.h) reaches entities, blocks and events that no
  // member operation hands out whole. read changes neither file.
  template <typename Read>
  decltype(auto) ReadPair(Read&& read) {
    auto lock = LockFile();
    return read(index_, data_file_);
  }

 protected:
  // Refusals by mode: appending new content, and changing the recording.
  virtual void CheckRecordAllowed() const {}
  virtual void CheckModifyAllowed() const {}
  // Puts a packet that an operation has built and indexed into the data
  // file; only a recorder writes.
  virtual void CommitPacket(Packets::PacketBase& /*packet*/) {}

  // Creates and inserts a post-process step: one routine, told by
  // refuse_taken_index whether a step at the index refuses the call.
  uint32_t AddPostProcess(bool refuse_taken_index, uint16_t channel_id, uint8_t index,
                          uint16_t type, bool is_default, bool is_disabled, const Bytes& data,
                          const std::string& label, bool is_unit_change, const std::string& unit);

  // Holds the file for one operation: its mutex, and the index's and the
  // entity IDs' marks to go back to if the operation fails. Operations nest
  // (a read inside a modification); the outermost one decides. The data
  // file needs no mark: a packet is the last thing an operation writes, and
  // an append that fails cuts its own torn bytes back off (KrdInstance).
  class OperationScope {
   public:
    explicit OperationScope(KrfFileBase& file);
    ~OperationScope();
    OperationScope(const OperationScope&) = delete;
    OperationScope& operator=(const OperationScope&) = delete;

   private:
    KrfFileBase& file_;
    std::lock_guard<std::recursive_mutex> lock_;
    const int exceptions_at_start_;
    const bool outermost_;
  };
  [[nodiscard]] OperationScope LockFile() { return OperationScope(*this); }
  // The last steps of creating an entity whose checks have passed: the
  // packet takes the data file's end as its offset, its row goes into the
  // index (which assigns the entity's ID), and a recorder appends it.
  void AddPacket(Packets::PacketBase& packet);

  // The ID for a new entity of kind, never one handed out before.
  uint16_t NewEntityId(EntityIds::Kind kind) { return entity_ids_.Next(kind, index_); }

  // The opening steps the modes combine.
  void CheckHeader();
  void CheckGuid();

  KrdInstance data_file_;
  Index::IndexConnection index_;
  std::shared_ptr<FileLibrarySettings> settings_;
  EntityIds entity_ids_;

 private:
  void EndOperation(bool succeeded) noexcept;

  std::recursive_mutex mutex_;
  EntityIds::State entity_ids_at_operation_start_;
};

}  // namespace Varnholt::KrdFiles
