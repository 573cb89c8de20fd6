#include "KrdFileLib/Packets/DeviceAttributePacket.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Packets {

DeviceAttributePacket::DeviceAttributePacket(uint16_t device_id, uint16_t key, uint16_t index,
                                             Bytes value)
    : AttributePacket(device_id, key, index, std::move(value)) {}

DeviceAttributePacket::DeviceAttributePacket(const PacketFrame& frame, Bytes body)
    : AttributePacket(frame, std::move(body)) {}

std::shared_ptr<DeviceAttributePacket> DeviceAttributePacket::Find(
    Index::IndexConnection& connection, uint16_t device_id, uint16_t key, uint16_t index) {
  auto attribute = std::make_shared<DeviceAttributePacket>(device_id, key, index, Bytes{});
  if (!attribute->LoadByKey(connection)) {
    throw Errors::DeviceAttributeNotFound(device_id, key, index);
  }
  return attribute;
}

void DeviceAttributePacket::CheckIsNew(Index::IndexConnection& connection) const {
  if (IsInIndex(connection))
    throw Errors::DeviceAttributeExists(DeviceId(), AttributeKey(), AttributeIndex());
}

void DeviceAttributePacket::RequireRecorded(Index::IndexConnection& connection) const {
  if (!IsInIndex(connection)) throw Errors::DeviceAttributePacketNotRecorded();
}

}  // namespace Varnholt::KrdFiles::Packets
