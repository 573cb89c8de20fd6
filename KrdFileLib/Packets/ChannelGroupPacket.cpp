#include "KrdFileLib/Packets/ChannelGroupPacket.h"

#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/ChannelTable.h"

namespace Varnholt::KrdFiles::Packets {

ChannelGroupPacket::ChannelGroupPacket(uint32_t time_base_divisor, uint8_t channel_count,
                                       uint16_t data_type)
    : IndexedPacket(PacketTypeId::kChannelGroup),
      time_base_divisor_(time_base_divisor),
      channel_count_(channel_count),
      data_type_(data_type) {
  BindRow();
}

ChannelGroupPacket::ChannelGroupPacket(const PacketFrame& frame, Bytes body)
    : IndexedPacket(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    group_id_ = fields.ReadUInt16();
    time_base_divisor_ = fields.ReadUInt32();
    channel_count_ = fields.ReadUInt8();
    data_type_ = fields.ReadUInt16();
  });
}

void ChannelGroupPacket::BindRow() {
  row_.group_id.PointAt(&group_id_);
  row_.time_base_divisor.PointAt(&time_base_divisor_);
  row_.channel_count.PointAt(&channel_count_);
  row_.data_type.PointAt(&data_type_);
}

std::shared_ptr<ChannelGroupPacket> ChannelGroupPacket::Find(Index::IndexConnection& connection,
                                                             uint16_t group_id) {
  auto group = std::make_shared<ChannelGroupPacket>(0, 0, 0);
  group->group_id_ = group_id;
  if (!group->LoadByKey(connection)) {
    throw Errors::ChannelGroupNotFound(group_id);
  }
  return group;
}

void ChannelGroupPacket::CheckHasNoChannels(Index::IndexConnection& connection) const {
  Index::ChannelTable channels;
  channels.channel_group_id.Set(group_id_);
  if (channels.Exists(connection, {&channels.channel_group_id})) {
    throw Errors::ChannelGroupHasChannels(group_id_);
  }
}

uint32_t ChannelGroupPacket::SampleSize() const {
  return DataTypeRegistry::Process().SampleSize(data_type_);
}

uint64_t ChannelGroupPacket::FrameSize() const { return uint64_t{channel_count_} * SampleSize(); }

void ChannelGroupPacket::AppendBody(Bytes& body) const {
  PutUInt16(body, group_id_);
  PutUInt32(body, time_base_divisor_);
  PutUInt8(body, channel_count_);
  PutUInt16(body, data_type_);
}

}  // namespace Varnholt::KrdFiles::Packets
