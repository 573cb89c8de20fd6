#pragma once

#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The channels, one row per channel packet: where each sits in its group's
// interleaved frame and which physical channel it comes from.
class ChannelTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "channel";

  ChannelTable();

  UInt16Column channel_id{"channel_id"};
  UInt16Column channel_group_id{"channel_group_id"};
  UInt16Column physical_channel_id{"physical_channel_id"};
  UInt8Column interleav_index{"interleav_index"};
  BoolColumn disabled{"disabled"};
  TextColumn label{"label"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
