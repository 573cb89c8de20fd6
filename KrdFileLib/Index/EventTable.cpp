#include "KrdFileLib/Index/EventTable.h"

namespace Varnholt::KrdFiles::Index {

EventTable::EventTable() : IndexTable(kTableName) {
  RegisterColumns({&event_id, &event_source_id, &event_time, &data, &offset});
  RegisterRowId(event_id);
}

std::vector<uint32_t> EventTable::SelectEventsInRange(IndexConnection& connection,
                                                      uint16_t event_source_id, int64_t start_time,
                                                      int64_t end_time) {
  std::vector<uint32_t> event_ids;
  ForEachEventInRange(
      connection, event_source_id, start_time, end_time,
      [&event_ids](const EventTable& row) { event_ids.push_back(row.event_id.Value()); });
  return event_ids;
}

void EventTable::ForEachEventInRange(IndexConnection& connection,
                                     std::optional<uint16_t> event_source_id, int64_t start_time,
                                     int64_t end_time,
                                     const std::function<void(const EventTable& row)>& visit) {
  SqlCommand command(
      event_source_id
          ? "select * from event where (event_source_id = @eventSourceId) and (@startTime <= "
            "event_time) and (event_time <= @endTime) order by event_time"
          : "select * from event where (@startTime <= event_time) and (event_time <= @endTime) "
            "order by event_time, event_id");
  if (event_source_id) command.AddIntParameter("@eventSourceId", *event_source_id);
  command.AddInt64Parameter("@startTime", start_time);
  command.AddInt64Parameter("@endTime", end_time);

  EventTable table;
  for (bool has_row = table.SelectFirst(connection, command); has_row; has_row = table.NextRow()) {
    visit(table);
  }
}

int64_t EventTable::GetLastEventTime(IndexConnection& connection, uint16_t event_source_id) {
  const EventTable table;
  SqlCommand command("select max(" + table.event_time.Name() + ") from " + table.TableName() +
                     " where " + table.event_source_id.Name() + " = @eventSourceId");
  command.AddIntParameter("@eventSourceId", event_source_id);
  return QueryScalar(connection, command);
}

}  // namespace Varnholt::KrdFiles::Index
