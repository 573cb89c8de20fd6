#include "KrdFileLib/Index/DeviceTable.h"

namespace Varnholt::KrdFiles::Index {

DeviceTable::DeviceTable() : IndexTable(kTableName) {
  RegisterColumns({&device_id, &parent_id, &label, &offset});
  RegisterRowId(device_id);
}

}  // namespace Varnholt::KrdFiles::Index
