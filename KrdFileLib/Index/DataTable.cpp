#include "KrdFileLib/Index/DataTable.h"

#include "KrdFileLib/Errors.h"

namespace Varnholt::KrdFiles::Index {

DataTable::DataTable() : IndexTable(kTableName) {
  RegisterColumns({&channel_group_id, &start_time_offset, &end_time_offset, &offset});
  RegisterKey({&channel_group_id, &start_time_offset, &end_time_offset});
}

void DataTable::PointAt(DataRecordRef& record) {
  start_time_offset.PointAt(&record.start_time_offset);
  end_time_offset.PointAt(&record.end_time_offset);
  offset.PointAt(&record.offset);
}

std::vector<DataRecordRef> DataTable::SelectDataInRange(IndexConnection& connection,
                                                        uint16_t channel_group_id,
                                                        int64_t start_time, int64_t end_time) {
  std::vector<DataRecordRef> records;
  ForEachDataInRange(connection, channel_group_id, start_time, end_time,
                     [&records](const DataRecordRef& record) { records.push_back(record); });
  return records;
}

void DataTable::ForEachDataInRange(IndexConnection& connection, uint16_t channel_group_id,
                                   int64_t start_time, int64_t end_time,
                                   const std::function<void(const DataRecordRef&)>& visit) {
  if (start_time > end_time) throw Errors::StartTimeExceedsEndTime();
  // From the last block that starts at or before start_time (or from time 0
  // when none does) up to the last block that starts at or before end_time.
  SqlCommand command(
      "select * from data where channel_group_id = @channel_group_id and start_time_offset >= "
      "COALESCE((SELECT start_time_offset FROM data WHERE channel_group_id = @channel_group_id "
      "AND start_time_offset <= @start_time_filter ORDER BY start_time_offset DESC LIMIT 1),0) "
      "and start_time_offset <= @end_time_filter order by start_time_offset");
  command.AddIntParameter("@channel_group_id", channel_group_id);
  command.AddInt64Parameter("@start_time_filter", start_time);
  command.AddInt64Parameter("@end_time_filter", end_time);

  DataTable table;
  DataRecordRef record;
  table.PointAt(record);
  for (bool has_row = table.SelectFirst(connection, command); has_row; has_row = table.NextRow()) {
    // The block found by the lower bound may end before the range begins.
    if (record.end_time_offset >= start_time) visit(record);
  }
}

std::optional<DataRecordRef> DataTable::SelectBlock(IndexConnection& connection,
                                                    const SqlCommand& command) {
  DataTable table;
  DataRecordRef block;
  table.PointAt(block);
  if (!table.SelectFirst(connection, command)) return std::nullopt;
  return block;
}

std::optional<DataRecordRef> DataTable::FindNextBlock(IndexConnection& connection,
                                                      uint16_t channel_group_id,
                                                      int64_t time_range_end) {
  SqlCommand command(
      "select * from data where channel_group_id = @channelGroupId and start_time_offset = "
      "(select min(start_time_offset) from data where channel_group_id = @channelGroupId and "
      "start_time_offset > @timeRangeEnd)");
  command.AddIntParameter("@channelGroupId", channel_group_id);
  command.AddInt64Parameter("@timeRangeEnd", time_range_end);
  return SelectBlock(connection, command);
}

std::optional<DataRecordRef> DataTable::FindPreviousBlock(IndexConnection& connection,
                                                          uint16_t channel_group_id,
                                                          int64_t time_range_start) {
  SqlCommand command(
      "select * from data where channel_group_id = @channelGroupId and start_time_offset = "
      "(select max(start_time_offset) from data where channel_group_id = @channelGroupId and "
      "start_time_offset < @timeRangeStart)");
  command.AddIntParameter("@channelGroupId", channel_group_id);
  command.AddInt64Parameter("@timeRangeStart", time_range_start);
  return SelectBlock(connection, command);
}

int64_t DataTable::GetLastDataEndTime(IndexConnection& connection, uint16_t channel_group_id) {
  const DataTable table;
  const std::string& group = table.channel_group_id.Name();
  const std::string& start = table.start_time_offset.Name();
  SqlCommand command("select max(" + table.end_time_offset.Name() + " ) from " + table.TableName() +
                     " where " + group + " = @channelGroupId1 and " + start + " = (select max(" +
                     start + ") from " + table.TableName() + " where " + group +
                     " = @channelGroupId2)");
  command.AddIntParameter("@channelGroupId1", channel_group_id);
  command.AddIntParameter("@channelGroupId2", channel_group_id);
  return QueryScalar(connection, command);
}

}  // namespace Varnholt::KrdFiles::Index
