// The device tree and the devices' attributes. The root device has ID 0 and
// no parent; every other device hangs below an existing one. Deleting a
// device forgets it and its attributes in the index; its packets stay in
// the data file, and so do its physical channels.

#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLib/Packets/DeviceAttributePacket.h"
#include "KrdFileLib/Packets/DevicePacket.h"

namespace Varnholt::KrdFiles {

using Packets::DeviceAttributePacket;
using Packets::DevicePacket;

// Devices -------------------------------------------------------------------

uint16_t KrfFileBase::CreateDevice(uint16_t parent_id, const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  DevicePacket device(parent_id, label);
  device.CheckCanBeAdded(index_);
  device.AssignId(device.IsRoot() ? entity_ids_.Root(index_)
                                  : NewEntityId(EntityIds::Kind::kDevice));
  AddPacket(device);
  return device.DeviceId();
}

void KrfFileBase::DeleteDevice(uint16_t device_id) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto device = DevicePacket::Find(index_, device_id);
  device->RequireRecorded(index_);
  device->CheckHasNoChildren(index_);
  DeviceAttributePacket::RemoveAllOf(index_, device_id);
  device->RemoveFromIndex(index_);
  entity_ids_.NoteDeleted(EntityIds::Kind::kDevice, device_id);
}

KrfFileBase::Ids KrfFileBase::DeviceChildrenList(uint16_t device_id) {
  auto lock = LockFile();
  DevicePacket::Find(index_, device_id);
  Index::DeviceTable devices;
  return devices.SelectIds(index_, devices.device_id, devices.parent_id, device_id);
}

void KrfFileBase::SetDeviceLabel(uint16_t device_id, const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto device = DevicePacket::Find(index_, device_id);
  device->SetLabel(label);
  device->RequireRecorded(index_);
  device->UpdateInIndex(index_);
}

std::string KrfFileBase::GetDeviceLabel(uint16_t device_id) {
  auto lock = LockFile();
  return DevicePacket::Find(index_, device_id)->Label();
}

// Device attributes ---------------------------------------------------------

void KrfFileBase::CreateDeviceAttribute(uint16_t device_id, uint16_t key, uint16_t index,
                                        const Bytes& value) {
  auto lock = LockFile();
  CheckModifyAllowed();
  DeviceAttributePacket attribute(device_id, key, index, value);
  DevicePacket::Find(index_, device_id);
  attribute.CheckIsNew(index_);
  AddPacket(attribute);
}

void KrfFileBase::SetDeviceAttribute(uint16_t device_id, uint16_t key, uint16_t index,
                                     const Bytes& value) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto attribute = DeviceAttributePacket::Find(index_, device_id, key, index);
  attribute->SetValue(value);
  attribute->RequireRecorded(index_);
  attribute->UpdateInIndex(index_);
}

KrfFileBase::Bytes KrfFileBase::GetDeviceAttribute(uint16_t device_id, uint16_t key,
                                                   uint16_t index) {
  auto lock = LockFile();
  return DeviceAttributePacket::Find(index_, device_id, key, index)->Value();
}

void KrfFileBase::DeleteDeviceAttribute(uint16_t device_id, uint16_t key, uint16_t index) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto attribute = DeviceAttributePacket::Find(index_, device_id, key, index);
  attribute->RequireRecorded(index_);
  attribute->RemoveFromIndex(index_);
}

KrfFileBase::AttributeIds KrfFileBase::DeviceAttributeList(uint16_t device_id) {
  auto lock = LockFile();
  DevicePacket::Find(index_, device_id)->RequireRecorded(index_);
  return DeviceAttributePacket::ListOf(index_, device_id);
}

}  // namespace Varnholt::KrdFiles
