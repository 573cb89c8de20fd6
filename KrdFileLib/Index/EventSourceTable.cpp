#include "KrdFileLib/Index/EventSourceTable.h"

namespace Varnholt::KrdFiles::Index {

EventSourceTable::EventSourceTable() : IndexTable(kTableName) {
  RegisterColumns({&event_source_id, &physical_channel_id, &data_type, &label, &offset});
  RegisterRowId(event_source_id);
}

}  // namespace Varnholt::KrdFiles::Index
