#pragma once

#include <cstdint>
#include <memory>

#include "KrdFileLib/Index/EventTable.h"
#include "KrdFileLib/Packets/IndexedPacket.h"

namespace Varnholt::KrdFiles::Packets {

// One event of an event source: a time and an opaque payload. The event's
// own id exists only in the index, which assigns it on every insert; an
// index rebuilt from the file therefore numbers events afresh.
//
// Body: u16 event source id, u64 event time, then the payload as
// rest-of-body bytes.
class EventPacket final : public IndexedPacket<Index::EventTable> {
 public:
  EventPacket(uint16_t event_source_id, int64_t event_time, Bytes data);
  EventPacket(const PacketFrame& frame, Bytes body);

  // The event from the index (code 25 when there is none).
  static std::shared_ptr<EventPacket> Find(Index::IndexConnection& connection, uint32_t event_id);

  uint32_t EventId() const { return event_id_; }
  uint16_t EventSourceId() const { return event_source_id_; }
  int64_t EventTime() const { return event_time_; }
  void SetEventTime(int64_t event_time) { event_time_ = event_time; }
  const Bytes& Data() const { return data_; }
  void SetData(Bytes data) { data_ = std::move(data); }

  // Before it is changed or deleted: code 42 unless it is in the index.
  void RequireRecorded(Index::IndexConnection& connection) const;

  void AppendBody(Bytes& body) const override;
  // The id is not in the file, so the index assigns a new one.
  void RestoreInIndex(Index::IndexConnection& connection, KrdInstance& file) override;

 private:
  void BindRow();

  uint32_t event_id_ = 0;
  uint16_t event_source_id_ = 0;
  int64_t event_time_ = 0;
  Bytes data_;
};

}  // namespace Varnholt::KrdFiles::Packets
