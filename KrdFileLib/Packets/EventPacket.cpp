#include "KrdFileLib/Packets/EventPacket.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Packets {

EventPacket::EventPacket(uint16_t event_source_id, int64_t event_time, Bytes data)
    : IndexedPacket(PacketTypeId::kEvent),
      event_source_id_(event_source_id),
      event_time_(event_time),
      data_(std::move(data)) {
  BindRow();
}

EventPacket::EventPacket(const PacketFrame& frame, Bytes body) : IndexedPacket(frame) {
  BindRow();
  DecodeBody(std::move(body), [this](PacketReader& fields) {
    event_source_id_ = fields.ReadUInt16();
    event_time_ = static_cast<int64_t>(fields.ReadUInt64());
    data_ = fields.ReadRestAsBytes();
  });
}

void EventPacket::BindRow() {
  row_.event_id.PointAt(&event_id_);
  row_.event_source_id.PointAt(&event_source_id_);
  row_.event_time.PointAt(&event_time_);
  row_.data.PointAt(&data_);
}

std::shared_ptr<EventPacket> EventPacket::Find(Index::IndexConnection& connection,
                                               uint32_t event_id) {
  auto event = std::make_shared<EventPacket>(0, 0, Bytes{});
  event->event_id_ = event_id;
  if (!event->LoadByKey(connection)) throw Errors::EventNotFound(event_id);
  return event;
}

void EventPacket::RequireRecorded(Index::IndexConnection& connection) const {
  if (!IsInIndex(connection)) throw Errors::EventPacketNotRecorded();
}

void EventPacket::AppendBody(Bytes& body) const {
  PutUInt16(body, event_source_id_);
  PutUInt64(body, static_cast<uint64_t>(event_time_));
  PutBytes(body, data_);
}

void EventPacket::RestoreInIndex(Index::IndexConnection& connection, KrdInstance& /*file*/) {
  AddToIndex(connection);
}

}  // namespace Varnholt::KrdFiles::Packets
