#pragma once

#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The channel groups, one row per channel group packet: how often the
// group samples and what its interleaved frames hold.
class ChannelGroupTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "channel_group";

  ChannelGroupTable();

  UInt16Column group_id{"group_id"};
  UInt32Column time_base_divisor{"time_base_divisor"};
  UInt8Column channel_count{"channel_count"};
  UInt16Column data_type{"data_type"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
