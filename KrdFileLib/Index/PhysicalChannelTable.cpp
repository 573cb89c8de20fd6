#include "KrdFileLib/Index/PhysicalChannelTable.h"

namespace Varnholt::KrdFiles::Index {

PhysicalChannelTable::PhysicalChannelTable() : IndexTable(kTableName) {
  RegisterColumns({&channel_id, &device_id, &channel_number, &label, &offset});
  RegisterRowId(channel_id);
}

}  // namespace Varnholt::KrdFiles::Index
