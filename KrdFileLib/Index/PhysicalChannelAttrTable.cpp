#include "KrdFileLib/Index/PhysicalChannelAttrTable.h"

namespace Varnholt::KrdFiles::Index {

PhysicalChannelAttrTable::PhysicalChannelAttrTable() : IndexTable(kTableName) {
  RegisterColumns(
      {&physical_channel_id, &attribute_key, &attribute_index, &attribute_value, &offset});
  RegisterKey({&physical_channel_id, &attribute_key, &attribute_index});
}

}  // namespace Varnholt::KrdFiles::Index
