#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "KrdFileLib/Index/ChannelTable.h"
#include "KrdFileLib/Packets/IndexedPacket.h"
#include "KrdFileLib/Packets/String8.h"

namespace Varnholt::KrdFiles::Packets {

class ChannelGroupPacket;

// One channel of a channel group: the physical channel it comes from and
// its place (interleave index) in each of the group's frames. The index
// also keeps whether the channel is disabled, which the file does not
// carry. Its id is handed out by the file object (EntityIds).
//
// Body: u16 channel id, u16 channel group id, u16 physical channel id,
// u8 interleave index, string8 label.
class ChannelPacket final : public IndexedPacket<Index::ChannelTable> {
 public:
  ChannelPacket(uint16_t channel_group_id, uint16_t physical_channel_id, uint8_t interleave_index,
                std::string label);
  ChannelPacket(const PacketFrame& frame, Bytes body);

  // The channel from the index (code 21 when there is none).
  static std::shared_ptr<ChannelPacket> Find(Index::IndexConnection& connection,
                                             uint16_t channel_id);

  uint16_t ChannelId() const { return channel_id_; }
  uint16_t ChannelGroupId() const { return channel_group_id_; }
  uint16_t PhysicalChannelId() const { return physical_channel_id_; }
  uint8_t InterleaveIndex() const { return interleave_index_; }
  const std::string& Label() const { return label_; }
  // Code 36 for a label longer than a packet can hold.
  void SetLabel(std::string label) { label_ = CheckedLabel(std::move(label)); }
  bool IsDisabled() const { return disabled_; }
  void SetDisabled(bool disabled) { disabled_ = disabled; }

  // Code 43 unless interleave_index names a place in group's frames.
  static void CheckInterleaveIndex(const ChannelGroupPacket& group, uint8_t interleave_index);
  // Before the channel is added: finds its group (code 19) and checks the
  // interleave index against it (code 43).
  void CheckInterleaveIndex(Index::IndexConnection& connection) const;

  void AppendBody(Bytes& body) const override;

 private:
  void BindRow();

  uint16_t channel_id_ = kUnrecordedId;
  uint16_t channel_group_id_ = 0;
  uint16_t physical_channel_id_ = 0;
  uint8_t interleave_index_ = 0;
  bool disabled_ = false;
  std::string label_;
};

}  // namespace Varnholt::KrdFiles::Packets
