#pragma once

#include <cstdint>
#include <memory>

#include "KrdFileLib/Index/DeviceAttributesTable.h"
#include "KrdFileLib/Packets/AttributePacket.h"

namespace Varnholt::KrdFiles::Packets {

// One attribute value of a device, addressed by device id, key and index.
class DeviceAttributePacket final
    : public AttributePacket<Index::DeviceAttributesTable, PacketTypeId::kDeviceAttribute,
                             &Index::DeviceAttributesTable::device_id> {
 public:
  DeviceAttributePacket(uint16_t device_id, uint16_t key, uint16_t index, Bytes value);
  DeviceAttributePacket(const PacketFrame& frame, Bytes body);

  // The attribute from the index (code 11 when there is none).
  static std::shared_ptr<DeviceAttributePacket> Find(Index::IndexConnection& connection,
                                                     uint16_t device_id, uint16_t key,
                                                     uint16_t index);

  uint16_t DeviceId() const { return OwnerId(); }

  // Before it is added: code 12 when the device already has this key and index.
  void CheckIsNew(Index::IndexConnection& connection) const;
  // Before it is changed or deleted: code 42 unless it is in the index.
  void RequireRecorded(Index::IndexConnection& connection) const;
};

}  // namespace Varnholt::KrdFiles::Packets
