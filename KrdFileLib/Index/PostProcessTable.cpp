#include "KrdFileLib/Index/PostProcessTable.h"

namespace Varnholt::KrdFiles::Index {

PostProcessTable::PostProcessTable() : IndexTable(kTableName) {
  RegisterColumns({&post_process_id, &channel_id, &post_process_index, &post_process_type,
                   &is_default, &is_disabled, &data, &label, &is_unit_change, &unit, &offset});
  RegisterRowId(post_process_id);
}

void PostProcessTable::ShiftPostProcessIndexes(IndexConnection& connection) const {
  if (Exists(connection, {&channel_id, &post_process_index})) ShiftIndexesFrom(connection);
}

void PostProcessTable::ShiftIndexesFrom(IndexConnection& connection) const {
  const std::string& index = post_process_index.Name();
  SqlCommand command("update " + TableName() + " set " + index + " = " + index + " + 1 where " +
                     channel_id.Name() + " = @channelId and " + index + " >= @indexValue");
  command.AddIntParameter("@channelId", channel_id.Value());
  command.AddIntParameter("@indexValue", post_process_index.Value());
  connection.ExecuteCounted(command);
}

}  // namespace Varnholt::KrdFiles::Index
