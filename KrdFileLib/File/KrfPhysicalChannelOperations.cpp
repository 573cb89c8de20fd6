// The physical channels, numbered per device, and their attributes.
// Deleting a physical channel forgets it and its attributes in the index;
// channels and event sources that name it are left as they are.

#include "KrdFileLib/Index/PhysicalChannelTable.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLib/Packets/DevicePacket.h"
#include "KrdFileLib/Packets/PhysicalChannelAttributePacket.h"
#include "KrdFileLib/Packets/PhysicalChannelPacket.h"

namespace Varnholt::KrdFiles {

using Packets::DevicePacket;
using Packets::PhysicalChannelAttributePacket;
using Packets::PhysicalChannelPacket;

// Physical channels ---------------------------------------------------------

uint16_t KrfFileBase::CreatePhysicalChannel(uint16_t device_id, uint16_t channel_number,
                                            const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  PhysicalChannelPacket channel(device_id, channel_number, label);
  DevicePacket::Find(index_, device_id);
  channel.CheckIsNew(index_);
  channel.AssignId(NewEntityId(EntityIds::Kind::kPhysicalChannel));
  AddPacket(channel);
  return channel.ChannelId();
}

void KrfFileBase::DeletePhysicalChannel(uint16_t physical_channel_id) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto channel = PhysicalChannelPacket::Find(index_, physical_channel_id);
  PhysicalChannelAttributePacket::RemoveAllOf(index_, physical_channel_id);
  channel->RemoveFromIndex(index_);
  entity_ids_.NoteDeleted(EntityIds::Kind::kPhysicalChannel, physical_channel_id);
}

KrfFileBase::Ids KrfFileBase::PhysicalChannelList(uint16_t device_id) {
  auto lock = LockFile();
  DevicePacket::Find(index_, device_id)->RequireRecorded(index_);
  Index::PhysicalChannelTable channels;
  return channels.SelectIds(index_, channels.channel_id, channels.device_id, device_id);
}

void KrfFileBase::SetPhysicalChannelLabel(uint16_t physical_channel_id, const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto channel = PhysicalChannelPacket::Find(index_, physical_channel_id);
  channel->SetLabel(label);
  channel->UpdateInIndex(index_);
}

std::string KrfFileBase::GetPhysicalChannelLabel(uint16_t physical_channel_id) {
  auto lock = LockFile();
  return PhysicalChannelPacket::Find(index_, physical_channel_id)->Label();
}

uint16_t KrfFileBase::GetPhysicalChannelNbr(uint16_t physical_channel_id) {
  auto lock = LockFile();
  return PhysicalChannelPacket::Find(index_, physical_channel_id)->ChannelNumber();
}

// Physical channel attributes -------------------------------------------------

void KrfFileBase::CreatePhysicalChannelAttribute(uint16_t physical_channel_id, uint16_t key,
                                                 uint16_t index, const Bytes& value) {
  auto lock = LockFile();
  CheckModifyAllowed();
  PhysicalChannelAttributePacket attribute(physical_channel_id, key, index, value);
  PhysicalChannelPacket::Find(index_, physical_channel_id);
  attribute.CheckIsNew(index_);
  AddPacket(attribute);
}

void KrfFileBase::SetPhysicalChannelAttribute(uint16_t physical_channel_id, uint16_t key,
                                              uint16_t index, const Bytes& value) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto attribute =
      PhysicalChannelAttributePacket::Find(index_, physical_channel_id, key, index);
  attribute->SetValue(value);
  attribute->UpdateInIndex(index_);
}

KrfFileBase::Bytes KrfFileBase::GetPhysicalChannelAttribute(uint16_t physical_channel_id,
                                                            uint16_t key, uint16_t index) {
  auto lock = LockFile();
  return PhysicalChannelAttributePacket::Find(index_, physical_channel_id, key, index)->Value();
}

void KrfFileBase::DeletePhysicalChannelAttribute(uint16_t physical_channel_id, uint16_t key,
                                                 uint16_t index) {
  auto lock = LockFile();
  CheckModifyAllowed();
  PhysicalChannelAttributePacket::Find(index_, physical_channel_id, key, index)
      ->RemoveFromIndex(index_);
}

KrfFileBase::AttributeIds KrfFileBase::PhysicalChannelAttributeList(uint16_t physical_channel_id) {
  auto lock = LockFile();
  PhysicalChannelPacket::Find(index_, physical_channel_id);
  return PhysicalChannelAttributePacket::ListOf(index_, physical_channel_id);
}

}  // namespace Varnholt::KrdFiles
