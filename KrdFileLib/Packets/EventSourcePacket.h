#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "KrdFileLib/Index/EventSourceTable.h"
#include "KrdFileLib/Packets/IndexedPacket.h"
#include "KrdFileLib/Packets/String8.h"

namespace Varnholt::KrdFiles::Packets {

// A source of time-stamped events, bound to a physical channel, with the
// data type of its events' payloads. Its id is handed out by the file
// object (EntityIds).
//
// Body: u16 event source id, u16 physical channel id, u16 data type,
// string8 label.
class EventSourcePacket final : public IndexedPacket<Index::EventSourceTable> {
 public:
  EventSourcePacket(uint16_t physical_channel_id, uint16_t data_type, std::string label);
  EventSourcePacket(const PacketFrame& frame, Bytes body);

  // The event source from the index (code 23 when there is none).
  static std::shared_ptr<EventSourcePacket> Find(Index::IndexConnection& connection,
                                                 uint16_t event_source_id);

  uint16_t EventSourceId() const { return event_source_id_; }
  uint16_t PhysicalChannelId() const { return physical_channel_id_; }
  uint16_t DataType() const { return data_type_; }
  const std::string& Label() const { return label_; }
  // Code 36 for a label longer than a packet can hold.
  void SetLabel(std::string label) { label_ = CheckedLabel(std::move(label)); }

  void AppendBody(Bytes& body) const override;

 private:
  void BindRow();

  uint16_t event_source_id_ = kUnrecordedId;
  uint16_t physical_channel_id_ = 0;
  uint16_t data_type_ = 0;
  std::string label_;
};

}  // namespace Varnholt::KrdFiles::Packets
