#include "KrdFileLib/Packets/PhysicalChannelAttributePacket.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Packets {

PhysicalChannelAttributePacket::PhysicalChannelAttributePacket(uint16_t physical_channel_id,
                                                               uint16_t key, uint16_t index,
                                                               Bytes value)
    : AttributePacket(physical_channel_id, key, index, std::move(value)) {}

PhysicalChannelAttributePacket::PhysicalChannelAttributePacket(const PacketFrame& frame, Bytes body)
    : AttributePacket(frame, std::move(body)) {}

std::shared_ptr<PhysicalChannelAttributePacket> PhysicalChannelAttributePacket::Find(
    Index::IndexConnection& connection, uint16_t physical_channel_id, uint16_t key,
    uint16_t index) {
  auto attribute =
      std::make_shared<PhysicalChannelAttributePacket>(physical_channel_id, key, index, Bytes{});
  if (!attribute->LoadByKey(connection)) {
    throw Errors::PhysicalChannelAttributeNotFound(physical_channel_id, key, index);
  }
  return attribute;
}

void PhysicalChannelAttributePacket::CheckIsNew(Index::IndexConnection& connection) const {
  if (IsInIndex(connection)) {
    throw Errors::PhysicalChannelAttributeExists(PhysicalChannelId(), AttributeKey(),
                                                 AttributeIndex());
  }
}

}  // namespace Varnholt::KrdFiles::Packets
