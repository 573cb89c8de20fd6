#include "KrdFileLib/Index/ChannelGroupTable.h"

namespace Varnholt::KrdFiles::Index {

ChannelGroupTable::ChannelGroupTable() : IndexTable(kTableName) {
  RegisterColumns({&group_id, &time_base_divisor, &channel_count, &data_type, &offset});
  RegisterRowId(group_id);
}

}  // namespace Varnholt::KrdFiles::Index
