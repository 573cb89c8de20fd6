#pragma once

#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The devices of the recording's device tree, one row per device packet.
class DeviceTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "device";

  DeviceTable();

  UInt16Column device_id{"device_id"};
  UInt16Column parent_id{"parent_id"};
  TextColumn label{"label"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
