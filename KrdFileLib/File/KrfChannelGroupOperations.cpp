// The channel groups: sets of channels sampled together, each with one
// sampling interval (a divisor of the file's time base), one channel count
// and one sample data type.

#include "KrdFileLib/Index/ChannelGroupTable.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"

namespace Varnholt::KrdFiles {

using Packets::ChannelGroupPacket;

// Unlike the other creates, the group's row goes into the index before the
// packet is given its offset, so the row's offset column keeps the unset
// offset (-1) in every mode; the packet in the data file is complete.
// Nothing about the arguments is checked here, but a recording never hands
// out a group ID twice (code 36 once all are used).
uint16_t KrfFileBase::CreateChannelGroup(uint32_t time_base_divisor, uint8_t channel_count,
                                         uint16_t data_type) {
  auto lock = LockFile();
  CheckModifyAllowed();
  ChannelGroupPacket group(time_base_divisor, channel_count, data_type);
  group.AssignId(NewEntityId(EntityIds::Kind::kChannelGroup));
  group.AddToIndex(index_);
  data_file_.AssignEndOffset(group);
  CommitPacket(group);
  return group.GroupId();
}

void KrfFileBase::DeleteChannelGroup(uint16_t group_id) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto group = ChannelGroupPacket::Find(index_, group_id);
  group->CheckHasNoChannels(index_);
  group->RemoveFromIndex(index_);
  entity_ids_.NoteDeleted(EntityIds::Kind::kChannelGroup, group_id);
}

KrfFileBase::Ids KrfFileBase::ChannelGroupList() {
  auto lock = LockFile();
  Index::ChannelGroupTable groups;
  return groups.SelectAllIds(index_, groups.group_id);
}

void KrfFileBase::SetChGroupTimeBaseDivisor(uint16_t group_id, uint32_t time_base_divisor) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto group = ChannelGroupPacket::Find(index_, group_id);
  group->SetTimeBaseDivisor(time_base_divisor);
  group->UpdateInIndex(index_);
}

uint32_t KrfFileBase::GetChGroupTimeBaseDivisor(uint16_t group_id) {
  auto lock = LockFile();
  return ChannelGroupPacket::Find(index_, group_id)->TimeBaseDivisor();
}

uint8_t KrfFileBase::GetChGroupChCount(uint16_t group_id) {
  auto lock = LockFile();
  return ChannelGroupPacket::Find(index_, group_id)->ChannelCount();
}

uint16_t KrfFileBase::GetChGroupDataType(uint16_t group_id) {
  auto lock = LockFile();
  return ChannelGroupPacket::Find(index_, group_id)->DataType();
}

}  // namespace Varnholt::KrdFiles
