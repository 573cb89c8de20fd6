#include "KrdFileLib/Packets/PhysicalChannelPacket.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Packets {

PhysicalChannelPacket::PhysicalChannelPacket(uint16_t device_id, uint16_t channel_number,
                                             std::string label)
    : IndexedPacket(PacketTypeId::kPhysicalChannel),
      device_id_(device_id),
      channel_number_(channel_number),
      label_(CheckedLabel(std::move(label))) {
  BindRow();
}

PhysicalChannelPacket::PhysicalChannelPacket(const PacketFrame& frame, Bytes body)
    : IndexedPacket(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    channel_id_ = fields.ReadUInt16();
    device_id_ = fields.ReadUInt16();
    channel_number_ = fields.ReadUInt16();
    label_ = fields.ReadString8();
  });
}

void PhysicalChannelPacket::BindRow() {
  row_.channel_id.PointAt(&channel_id_);
  row_.device_id.PointAt(&device_id_);
  row_.channel_number.PointAt(&channel_number_);
  row_.label.PointAt(&label_);
}

std::shared_ptr<PhysicalChannelPacket> PhysicalChannelPacket::Find(
    Index::IndexConnection& connection, uint16_t channel_id) {
  auto channel = std::make_shared<PhysicalChannelPacket>(0, 0, std::string());
  channel->channel_id_ = channel_id;
  if (!channel->LoadByKey(connection)) {
    throw Errors::PhysicalChannelNotFound(channel_id);
  }
  return channel;
}

void PhysicalChannelPacket::CheckIsNew(Index::IndexConnection& connection) const {
  if (row_.Exists(connection, {&row_.device_id, &row_.channel_number})) {
    throw Errors::PhysicalChannelExists(device_id_, channel_number_);
  }
}

void PhysicalChannelPacket::AppendBody(Bytes& body) const {
  PutUInt16(body, channel_id_);
  PutUInt16(body, device_id_);
  PutUInt16(body, channel_number_);
  PutString8(body, label_);
}

}  // namespace Varnholt::KrdFiles::Packets
