#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// Where one recorded data block lies in time and in the KRD file.
struct DataRecordRef {
  int64_t start_time_offset = 0;
  int64_t end_time_offset = 0;
  int64_t offset = 0;  // of the data packet
};

// The recorded data blocks, one row per data packet, so that a channel
// group's blocks are found by time without reading the KRD file.
class DataTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "data";

  DataTable();

  // The group's blocks that overlap [start_time, end_time], in start-time
  // order; a block that ends exactly at start_time is included. Code 36
  // when start_time is after end_time.
  static std::vector<DataRecordRef> SelectDataInRange(IndexConnection& connection,
                                                      uint16_t channel_group_id, int64_t start_time,
                                                      int64_t end_time);
  // The same blocks, each handed to visit as its row comes, so that a walk
  // over many blocks holds one row at a time.
  static void ForEachDataInRange(IndexConnection& connection, uint16_t channel_group_id,
                                 int64_t start_time, int64_t end_time,
                                 const std::function<void(const DataRecordRef&)>& visit);
  // The group's block with the smallest start after time_range_end, and the
  // one with the greatest start before time_range_start.
  static std::optional<DataRecordRef> FindNextBlock(IndexConnection& connection,
                                                    uint16_t channel_group_id,
                                                    int64_t time_range_end);
  static std::optional<DataRecordRef> FindPreviousBlock(IndexConnection& connection,
                                                        uint16_t channel_group_id,
                                                        int64_t time_range_start);
  // The end time of the group's latest-starting block; 0 for a group without
  // blocks.
  static int64_t GetLastDataEndTime(IndexConnection& connection, uint16_t channel_group_id);

  UInt16Column channel_group_id{"channel_group_id"};
  Int64Column start_time_offset{"start_time_offset"};
  Int64Column end_time_offset{"end_time_offset"};
  Int64Column offset{"offset"};

 private:
  // Points the columns a block's place is read from at record.
  void PointAt(DataRecordRef& record);
  // The row of the one block that command selects, if any.
  static std::optional<DataRecordRef> SelectBlock(IndexConnection& connection,
                                                  const SqlCommand& command);
};

}  // namespace Varnholt::KrdFiles::Index
