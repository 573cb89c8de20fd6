#pragma once

#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The attributes of devices, one row per device attribute packet, keyed by
// device, attribute key and attribute index.
class DeviceAttributesTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "device_attributes";

  DeviceAttributesTable();

  UInt16Column device_id{"device_id"};
  UInt16Column attribute_key{"attribute_key"};
  UInt16Column attribute_index{"attribute_index"};
  BlobColumn attribute_value{"attribute_value"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
