// The channels: each ties one place of a channel group's frames (its
// interleave index) to the physical channel it is measured on.

#include "KrdFileLib/Index/ChannelTable.h"
#include "KrdFileLib/Index/PostProcessTable.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"
#include "KrdFileLib/Packets/ChannelPacket.h"
#include "KrdFileLib/Packets/PhysicalChannelPacket.h"

namespace Varnholt::KrdFiles {

using Packets::ChannelGroupPacket;
using Packets::ChannelPacket;
using Packets::PhysicalChannelPacket;

// The group (code 19), the interleave index (code 43) and the physical
// channel (code 14) are checked, in that order, and nothing else: two
// channels may share a place, and a group may take more channels than its
// count.
uint16_t KrfFileBase::CreateChannel(uint16_t group_id, uint16_t physical_channel_id,
                                    uint8_t interleave_index, const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  ChannelPacket channel(group_id, physical_channel_id, interleave_index, label);
  channel.CheckInterleaveIndex(index_);
  PhysicalChannelPacket::Find(index_, physical_channel_id);
  channel.AssignId(NewEntityId(EntityIds::Kind::kChannel));
  AddPacket(channel);
  return channel.ChannelId();
}

void KrfFileBase::DeleteChannel(uint16_t channel_id) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto channel = ChannelPacket::Find(index_, channel_id);
  Index::PostProcessTable steps;
  steps.channel_id.Set(channel_id);
  steps.Delete(index_, {&steps.channel_id});
  channel->RemoveFromIndex(index_);
  entity_ids_.NoteDeleted(EntityIds::Kind::kChannel, channel_id);
}

KrfFileBase::Ids KrfFileBase::ChannelList() {
  auto lock = LockFile();
  Index::ChannelTable channels;
  return channels.SelectAllIds(index_, channels.channel_id);
}

KrfFileBase::Ids KrfFileBase::ChInGroupList(uint16_t group_id) {
  auto lock = LockFile();
  ChannelGroupPacket::Find(index_, group_id);
  Index::ChannelTable channels;
  return channels.SelectIds(index_, channels.channel_id, channels.channel_group_id, group_id);
}

KrfFileBase::Ids KrfFileBase::ChInPhysicalChannelList(uint16_t physical_channel_id) {
  auto lock = LockFile();
  PhysicalChannelPacket::Find(index_, physical_channel_id);
  Index::ChannelTable channels;
  return channels.SelectIds(index_, channels.channel_id, channels.physical_channel_id,
                            physical_channel_id);
}

uint8_t KrfFileBase::GetChInterleaveIndex(uint16_t channel_id) {
  auto lock = LockFile();
  return ChannelPacket::Find(index_, channel_id)->InterleaveIndex();
}

void KrfFileBase::SetChLabel(uint16_t channel_id, const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto channel = ChannelPacket::Find(index_, channel_id);
  channel->SetLabel(label);
  channel->UpdateInIndex(index_);
}

std::string KrfFileBase::GetChLabel(uint16_t channel_id) {
  auto lock = LockFile();
  return ChannelPacket::Find(index_, channel_id)->Label();
}

}  // namespace Varnholt::KrdFiles
