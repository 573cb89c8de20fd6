#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The recorded events, one row per event packet.
class EventTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "event";

  EventTable();

  // The ids of the source's events with start_time <= event_time <= end_time,
  // in event-time order; an inverted range yields nothing.
  static std::vector<uint32_t> SelectEventsInRange(IndexConnection& connection,
                                                   uint16_t event_source_id, int64_t start_time,
                                                   int64_t end_time);
  // The rows of those events, or of every source's events in the range
  // (by time, then id) without a source, each handed to visit in the table
  // that holds it as it comes.
  static void ForEachEventInRange(IndexConnection& connection,
                                  std::optional<uint16_t> event_source_id, int64_t start_time,
                                  int64_t end_time,
                                  const std::function<void(const EventTable& row)>& visit);
  // The source's latest event time; 0 for a source without events.
  static int64_t GetLastEventTime(IndexConnection& connection, uint16_t event_source_id);

  UInt32Column event_id{"event_id"};
  UInt16Column event_source_id{"event_source_id"};
  Int64Column event_time{"event_time"};
  BlobColumn data{"data"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
