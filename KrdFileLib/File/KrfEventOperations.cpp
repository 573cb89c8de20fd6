// Event sources and their events: single time-stamped values, each from a
// source that belongs to a physical channel. Deletes and sets change the
// index only.

#include "KrdFileLib/Index/EventSourceTable.h"
#include "KrdFileLib/Index/EventTable.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLib/Packets/EventPacket.h"
#include "KrdFileLib/Packets/EventSourcePacket.h"
#include "KrdFileLib/Packets/PhysicalChannelPacket.h"

namespace Varnholt::KrdFiles {

using Packets::EventPacket;
using Packets::EventSourcePacket;

// Event sources ---------------------------------------------------------------

uint16_t KrfFileBase::CreateEventSource(uint16_t physical_channel_id, uint16_t data_type,
                                        const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  EventSourcePacket source(physical_channel_id, data_type, label);
  Packets::PhysicalChannelPacket::Find(index_, physical_channel_id);
  source.AssignId(NewEntityId(EntityIds::Kind::kEventSource));
  AddPacket(source);
  return source.EventSourceId();
}

void KrfFileBase::DeleteEventSource(uint16_t event_source_id) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto source = EventSourcePacket::Find(index_, event_source_id);
  Index::EventTable events;
  events.event_source_id.Set(event_source_id);
  events.Delete(index_, {&events.event_source_id});
  source->RemoveFromIndex(index_);
  entity_ids_.NoteDeleted(EntityIds::Kind::kEventSource, event_source_id);
}

KrfFileBase::Ids KrfFileBase::EventSourceList() {
  auto lock = LockFile();
  Index::EventSourceTable sources;
  return sources.SelectAllIds(index_, sources.event_source_id);
}

KrfFileBase::Ids KrfFileBase::EventSrcInPhysicalChList(uint16_t physical_channel_id) {
  auto lock = LockFile();
  Index::EventSourceTable sources;
  return sources.SelectIds(index_, sources.event_source_id, sources.physical_channel_id,
                           physical_channel_id);
}

uint16_t KrfFileBase::GetEventSrcDataType(uint16_t event_source_id) {
  auto lock = LockFile();
  return EventSourcePacket::Find(index_, event_source_id)->DataType();
}

void KrfFileBase::SetEventSrcLabel(uint16_t event_source_id, const std::string& label) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto source = EventSourcePacket::Find(index_, event_source_id);
  source->SetLabel(label);
  source->UpdateInIndex(index_);
}

std::string KrfFileBase::GetEventSrcLabel(uint16_t event_source_id) {
  auto lock = LockFile();
  return EventSourcePacket::Find(index_, event_source_id)->Label();
}

int64_t KrfFileBase::GetMaxEventSrcTime(uint16_t event_source_id) {
  auto lock = LockFile();
  EventSourcePacket::Find(index_, event_source_id);
  return Index::EventTable::GetLastEventTime(index_, event_source_id);
}

// Events ----------------------------------------------------------------------

uint32_t KrfFileBase::CreateEvent(uint16_t event_source_id, int64_t event_time,
                                  const Bytes& data) {
  auto lock = LockFile();
  CheckModifyAllowed();
  EventSourcePacket::Find(index_, event_source_id);
  EventPacket event(event_source_id, event_time, data);
  AddPacket(event);
  return event.EventId();
}

void KrfFileBase::DeleteEvent(uint32_t event_id) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto event = EventPacket::Find(index_, event_id);
  event->RequireRecorded(index_);
  event->RemoveFromIndex(index_);
}

std::vector<uint32_t> KrfFileBase::EventList(uint16_t event_source_id, int64_t start_time,
                                             int64_t end_time) {
  auto lock = LockFile();
  EventSourcePacket::Find(index_, event_source_id);
  return Index::EventTable::SelectEventsInRange(index_, event_source_id, start_time, end_time);
}

void KrfFileBase::SetEventTime(uint32_t event_id, int64_t event_time) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto event = EventPacket::Find(index_, event_id);
  event->SetEventTime(event_time);
  event->RequireRecorded(index_);
  event->UpdateInIndex(index_);
}

int64_t KrfFileBase::GetEventTime(uint32_t event_id) {
  auto lock = LockFile();
  return EventPacket::Find(index_, event_id)->EventTime();
}

void KrfFileBase::SetEventData(uint32_t event_id, const Bytes& data) {
  auto lock = LockFile();
  CheckModifyAllowed();
  const auto event = EventPacket::Find(index_, event_id);
  event->SetData(data);
  event->RequireRecorded(index_);
  event->UpdateInIndex(index_);
}

KrfFileBase::Bytes KrfFileBase::GetEventData(uint32_t event_id) {
  auto lock = LockFile();
  return EventPacket::Find(index_, event_id)->Data();
}

}  // namespace Varnholt::KrdFiles
