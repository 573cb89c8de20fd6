#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "KrdFileLib/Index/PhysicalChannelTable.h"
#include "KrdFileLib/Packets/IndexedPacket.h"
#include "KrdFileLib/Packets/String8.h"

namespace Varnholt::KrdFiles::Packets {

// One physical input of a device, numbered per device. Its id is handed
// out by the file object (EntityIds).
//
// Body: u16 channel id, u16 device id, u16 channel number, string8 label.
class PhysicalChannelPacket final : public IndexedPacket<Index::PhysicalChannelTable> {
 public:
  PhysicalChannelPacket(uint16_t device_id, uint16_t channel_number, std::string label);
  PhysicalChannelPacket(const PacketFrame& frame, Bytes body);

  // The physical channel from the index (code 14 when there is none).
  static std::shared_ptr<PhysicalChannelPacket> Find(Index::IndexConnection& connection,
                                                     uint16_t channel_id);

  uint16_t ChannelId() const { return channel_id_; }
  uint16_t DeviceId() const { return device_id_; }
  uint16_t ChannelNumber() const { return channel_number_; }
  const std::string& Label() const { return label_; }
  // Code 36 for a label longer than a packet can hold.
  void SetLabel(std::string label) { label_ = CheckedLabel(std::move(label)); }

  // Before it is added: code 32 when its device already has a physical
  // channel of this number.
  void CheckIsNew(Index::IndexConnection& connection) const;

  void AppendBody(Bytes& body) const override;

 private:
  void BindRow();

  uint16_t channel_id_ = kUnrecordedId;
  uint16_t device_id_ = 0;
  uint16_t channel_number_ = 0;
  std::string label_;
};

}  // namespace Varnholt::KrdFiles::Packets
