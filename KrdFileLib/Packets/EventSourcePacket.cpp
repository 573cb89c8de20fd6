#include "KrdFileLib/Packets/EventSourcePacket.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Packets {

EventSourcePacket::EventSourcePacket(uint16_t physical_channel_id, uint16_t data_type,
                                     std::string label)
    : IndexedPacket(PacketTypeId::kEventSource),
      physical_channel_id_(physical_channel_id),
      data_type_(data_type),
      label_(CheckedLabel(std::move(label))) {
  BindRow();
}

EventSourcePacket::EventSourcePacket(const PacketFrame& frame, Bytes body)
    : IndexedPacket(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    event_source_id_ = fields.ReadUInt16();
    physical_channel_id_ = fields.ReadUInt16();
    data_type_ = fields.ReadUInt16();
    label_ = fields.ReadString8();
  });
}

void EventSourcePacket::BindRow() {
  row_.event_source_id.PointAt(&event_source_id_);
  row_.physical_channel_id.PointAt(&physical_channel_id_);
  row_.data_type.PointAt(&data_type_);
  row_.label.PointAt(&label_);
}

std::shared_ptr<EventSourcePacket> EventSourcePacket::Find(Index::IndexConnection& connection,
                                                           uint16_t event_source_id) {
  auto source = std::make_shared<EventSourcePacket>(0, 0, std::string());
  source->event_source_id_ = event_source_id;
  if (!source->LoadByKey(connection)) {
    throw Errors::EventSourceNotFound(event_source_id);
  }
  return source;
}

void EventSourcePacket::AppendBody(Bytes& body) const {
  PutUInt16(body, event_source_id_);
  PutUInt16(body, physical_channel_id_);
  PutUInt16(body, data_type_);
  PutString8(body, label_);
}

}  // namespace Varnholt::KrdFiles::Packets
