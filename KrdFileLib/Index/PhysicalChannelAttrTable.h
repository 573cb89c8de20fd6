#pragma once

#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The attributes of physical channels, one row per physical channel
// attribute packet, keyed by channel, attribute key and attribute index.
class PhysicalChannelAttrTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "physical_channel_attr";

  PhysicalChannelAttrTable();

  UInt16Column physical_channel_id{"physical_channel_id"};
  UInt16Column attribute_key{"attribute_key"};
  UInt16Column attribute_index{"attribute_index"};
  BlobColumn attribute_value{"attribute_value"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
