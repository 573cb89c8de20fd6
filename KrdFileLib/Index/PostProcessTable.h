#pragma once

#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/Index/IndexTable.h"
#include "KrdFileLib/Index/TableColumn.h"

namespace Varnholt::KrdFiles::Index {

// The post-process steps of the channels, one row per post-process packet;
// post_process_index orders the steps of one channel's chain.
class PostProcessTable final : public IndexTable {
 public:
  static constexpr char kTableName[] = "post_process";

  PostProcessTable();

  // Makes room for a step at the buffer's channel_id and post_process_index:
  // if a step holds that position, it and every later step of the channel
  // move up by one. Only the index changes; recorded packets keep theirs.
  void ShiftPostProcessIndexes(IndexConnection& connection) const;
  // Moves every step of the buffer's channel at or after the buffer's
  // post_process_index up by one, whether or not a step holds that position.
  // Adding a step always does this, so a step added at a free position still
  // goes before the steps that follow it.
  void ShiftIndexesFrom(IndexConnection& connection) const;

  UInt32Column post_process_id{"post_process_id"};
  UInt16Column channel_id{"channel_id"};
  UInt8Column post_process_index{"post_process_index"};
  UInt16Column post_process_type{"post_process_type"};
  BoolColumn is_default{"is_default"};
  BoolColumn is_disabled{"is_disabled"};
  BlobColumn data{"data"};
  TextColumn label{"label"};
  BoolColumn is_unit_change{"is_unit_change"};
  BlobColumn unit{"unit"};
  Int64Column offset{"offset"};
};

}  // namespace Varnholt::KrdFiles::Index
