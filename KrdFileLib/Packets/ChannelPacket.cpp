#include "KrdFileLib/Packets/ChannelPacket.h"

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Packets/ChannelGroupPacket.h"

namespace Varnholt::KrdFiles::Packets {

ChannelPacket::ChannelPacket(uint16_t channel_group_id, uint16_t physical_channel_id,
                             uint8_t interleave_index, std::string label)
    : IndexedPacket(PacketTypeId::kChannel),
      channel_group_id_(channel_group_id),
      physical_channel_id_(physical_channel_id),
      interleave_index_(interleave_index),
      label_(CheckedLabel(std::move(label))) {
  BindRow();
}

ChannelPacket::ChannelPacket(const PacketFrame& frame, Bytes body) : IndexedPacket(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    channel_id_ = fields.ReadUInt16();
    channel_group_id_ = fields.ReadUInt16();
    physical_channel_id_ = fields.ReadUInt16();
    interleave_index_ = fields.ReadUInt8();
    label_ = fields.ReadString8();
  });
}

void ChannelPacket::BindRow() {
  row_.channel_id.PointAt(&channel_id_);
  row_.channel_group_id.PointAt(&channel_group_id_);
  row_.physical_channel_id.PointAt(&physical_channel_id_);
  row_.interleav_index.PointAt(&interleave_index_);
  row_.disabled.PointAt(&disabled_);
  row_.label.PointAt(&label_);
}

std::shared_ptr<ChannelPacket> ChannelPacket::Find(Index::IndexConnection& connection,
                                                   uint16_t channel_id) {
  auto channel = std::make_shared<ChannelPacket>(0, 0, 0, std::string());
  channel->channel_id_ = channel_id;
  if (!channel->LoadByKey(connection)) {
    throw Errors::ChannelNotFound(channel_id);
  }
  return channel;
}

void ChannelPacket::CheckInterleaveIndex(const ChannelGroupPacket& group,
                                         uint8_t interleave_index) {
  if (interleave_index >= group.ChannelCount()) {
    throw Errors::InterleaveIndexTooLarge(group.GroupId(), int64_t{group.ChannelCount()} - 1);
  }
}

void ChannelPacket::CheckInterleaveIndex(Index::IndexConnection& connection) const {
  CheckInterleaveIndex(*ChannelGroupPacket::Find(connection, channel_group_id_), interleave_index_);
}

void ChannelPacket::AppendBody(Bytes& body) const {
  PutUInt16(body, channel_id_);
  PutUInt16(body, channel_group_id_);
  PutUInt16(body, physical_channel_id_);
  PutUInt8(body, interleave_index_);
  PutString8(body, label_);
}

}  // namespace Varnholt::KrdFiles::Packets
