#include "KrdFileLib/Packets/DevicePacket.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Packets {

namespace {

bool DeviceExists(Index::IndexConnection& connection, uint16_t device_id) {
  Index::DeviceTable devices;
  devices.device_id.Set(device_id);
  return devices.Exists(connection, {&devices.device_id});
}

}  // namespace

DevicePacket::DevicePacket() : IndexedPacket(PacketTypeId::kDevice) { BindRow(); }

DevicePacket::DevicePacket(uint16_t parent_id, std::string label)
    : IndexedPacket(PacketTypeId::kDevice),
      parent_id_(parent_id),
      is_root_(parent_id == kNoParentDeviceId),
      label_(CheckedLabel(std::move(label))) {
  BindRow();
}

DevicePacket::DevicePacket(const PacketFrame& frame, Bytes body) : IndexedPacket(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    device_id_ = fields.ReadUInt16();
    parent_id_ = fields.ReadUInt16();
    label_ = fields.ReadString8();
  });
  DeriveRootFromId();
}

void DevicePacket::BindRow() {
  row_.device_id.PointAt(&device_id_);
  row_.parent_id.PointAt(&parent_id_);
  row_.label.PointAt(&label_);
}

void DevicePacket::DeriveRootFromId() {
  is_root_ = device_id_ == kRootDeviceId;
  if (is_root_) parent_id_ = kNoParentDeviceId;
}

std::shared_ptr<DevicePacket> DevicePacket::Find(Index::IndexConnection& connection,
                                                 uint16_t device_id) {
  auto device = std::make_shared<DevicePacket>();
  device->device_id_ = device_id;
  if (!device->LoadByKey(connection)) {
    throw Errors::DeviceNotFound(device_id);
  }
  device->DeriveRootFromId();
  return device;
}

void DevicePacket::CheckCanBeAdded(Index::IndexConnection& connection) const {
  if (is_root_) {
    if (DeviceExists(connection, kRootDeviceId)) throw Errors::RootDeviceExists();
  } else if (!DeviceExists(connection, parent_id_)) {
    throw Errors::ParentDeviceMissing();
  }
}

void DevicePacket::CheckHasNoChildren(Index::IndexConnection& connection) const {
  Index::DeviceTable children;
  children.parent_id.Set(device_id_);
  if (children.Exists(connection, {&children.parent_id})) {
    throw Errors::DeviceHasChildren(device_id_);
  }
}

void DevicePacket::RequireRecorded(Index::IndexConnection& connection) const {
  if (device_id_ == kUnrecordedId || !IsInIndex(connection)) {
    throw Errors::DevicePacketNotRecorded();
  }
}

void DevicePacket::AppendBody(Bytes& body) const {
  PutUInt16(body, device_id_);
  PutUInt16(body, parent_id_);
  PutString8(body, label_);
}

void DevicePacket::AddToIndex(Index::IndexConnection& connection) {
  if (is_root_) AssignId(kRootDeviceId);
  IndexedPacket::AddToIndex(connection);
}

}  // namespace Varnholt::KrdFiles::Packets
