#pragma once

#include <cstdint>
#include <memory>

#include "KrdFileLib/Index/ChannelGroupTable.h"
#include "KrdFileLib/Packets/IndexedPacket.h"

namespace Varnholt::KrdFiles::Packets {

// A group of channels sampled together: one sample data type, one channel
// count and one sampling interval (the time base divisor, in time-offset
// units between two frames). Its data blocks hold frames of one sample per
// channel. Its id is handed out by the file object (EntityIds).
//
// Body: u16 group id, u32 time base divisor, u8 channel count, u16 data type.
class ChannelGroupPacket final : public IndexedPacket<Index::ChannelGroupTable> {
 public:
  // The group id a new group carries until it is given one.
  static constexpr uint16_t kUnsetGroupId = 65535;

  ChannelGroupPacket(uint32_t time_base_divisor, uint8_t channel_count, uint16_t data_type);
  ChannelGroupPacket(const PacketFrame& frame, Bytes body);

  // The channel group from the index (code 19 when there is none).
  static std::shared_ptr<ChannelGroupPacket> Find(Index::IndexConnection& connection,
                                                  uint16_t group_id);

  uint16_t GroupId() const { return group_id_; }
  uint32_t TimeBaseDivisor() const { return time_base_divisor_; }
  void SetTimeBaseDivisor(uint32_t divisor) { time_base_divisor_ = divisor; }
  uint8_t ChannelCount() const { return channel_count_; }
  uint16_t DataType() const { return data_type_; }

  // Bytes of one sample, from the data-type registry (code 36 when the data
  // type is not registered).
  uint32_t SampleSize() const;
  // Bytes of one frame: one sample of every channel.
  uint64_t FrameSize() const;

  // Before the group is deleted: no channel may name it (code 33).
  void CheckHasNoChannels(Index::IndexConnection& connection) const;

  void AppendBody(Bytes& body) const override;

 private:
  void BindRow();

  uint16_t group_id_ = kUnsetGroupId;
  uint32_t time_base_divisor_ = 0;
  uint8_t channel_count_ = 0;
  uint16_t data_type_ = 0;
};

}  // namespace Varnholt::KrdFiles::Packets
