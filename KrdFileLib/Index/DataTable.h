#pragma once

#include <cstdint>
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
  // The end time of the group's latest-starting block; 0 for a group without
  // blocks.
  static int64_t GetLastDataEndTime(IndexConnection& connection, uint16_t channel_group_id);

  UInt16Column channel_group_id{"channel_group_id"};
  Int64Column start_time_offset{"start_time_offset"};
  Int64Column end_time_offset{"end_time_offset"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
