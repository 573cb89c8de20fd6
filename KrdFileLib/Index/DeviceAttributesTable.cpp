#include "KrdFileLib/Index/DeviceAttributesTable.h"

namespace Varnholt::KrdFiles::Index {

DeviceAttributesTable::DeviceAttributesTable() : IndexTable(kTableName) {
  RegisterColumns({&device_id, &attribute_key, &attribute_index, &attribute_value, &offset});
  RegisterKey({&device_id, &attribute_key, &attribute_index});
}

}  // namespace Varnholt::KrdFiles::Index
