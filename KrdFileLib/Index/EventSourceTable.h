#pragma once

#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The event sources, one row per event source packet.
class EventSourceTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "event_source";

  EventSourceTable();

  UInt16Column event_source_id{"event_source_id"};
  UInt16Column physical_channel_id{"physical_channel_id"};
  UInt16Column data_type{"data_type"};
  TextColumn label{"label"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
