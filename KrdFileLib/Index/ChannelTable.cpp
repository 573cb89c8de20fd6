#include "KrdFileLib/Index/ChannelTable.h"

namespace Varnholt::KrdFiles::Index {

ChannelTable::ChannelTable() : IndexTable(kTableName) {
  RegisterColumns({&channel_id, &channel_group_id, &physical_channel_id, &interleav_index,
                   &disabled, &label, &offset});
  RegisterRowId(channel_id);
}

}  // namespace Varnholt::KrdFiles::Index
