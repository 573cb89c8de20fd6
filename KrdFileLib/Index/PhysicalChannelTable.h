#pragma once

#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The physical channels of the devices, one row per physical channel packet.
class PhysicalChannelTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "physical_channel";

  PhysicalChannelTable();

  UInt16Column channel_id{"channel_id"};
  UInt16Column device_id{"device_id"};
  UInt16Column channel_number{"channel_number"};
  TextColumn label{"label"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
