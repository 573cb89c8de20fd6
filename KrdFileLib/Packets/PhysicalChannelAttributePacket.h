#pragma once

#include <cstdint>
#include <memory>

#include "KrdFileLib/Index/PhysicalChannelAttrTable.h"
#include "KrdFileLib/Packets/AttributePacket.h"

namespace Varnholt::KrdFiles::Packets {

// One attribute value of a physical channel, addressed by the physical
// channel's id, key and index.
class PhysicalChannelAttributePacket final
    : public AttributePacket<Index::PhysicalChannelAttrTable,
                             PacketTypeId::kPhysicalChannelAttribute,
                             &Index::PhysicalChannelAttrTable::physical_channel_id> {
 public:
  PhysicalChannelAttributePacket(uint16_t physical_channel_id, uint16_t key, uint16_t index,
                                 Bytes value);
  PhysicalChannelAttributePacket(const PacketFrame& frame, Bytes body);

  // The attribute from the index (code 16 when there is none).
  static std::shared_ptr<PhysicalChannelAttributePacket> Find(Index::IndexConnection& connection,
                                                              uint16_t physical_channel_id,
                                                              uint16_t key, uint16_t index);

  uint16_t PhysicalChannelId() const { return OwnerId(); }

  // Before it is added: code 17 when the channel already has this key and index.
  void CheckIsNew(Index::IndexConnection& connection) const;
};

}  // namespace Varnholt::KrdFiles::Packets
