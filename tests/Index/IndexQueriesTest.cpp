// The hand-written queries over data blocks, events and post-process chains.

#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/EventTable.h"
#include "KrdFileLib/Index/PostProcessTable.h"
#include "tests/Index/IndexTestSupport.h"

namespace Varnholt::KrdFiles::Index {
namespace {

using ::testing::Pair;

class IndexQueriesTest : public CreatedIndexTest {
 protected:
  void InsertBlock(uint16_t group, int64_t start, int64_t end) {
    data_.channel_group_id.Set(group);
    data_.start_time_offset.Set(start);
    data_.end_time_offset.Set(end);
    data_.offset.Set(start * 100);
    data_.Insert(connection_, false);
  }
  void InsertEvent(uint16_t source, int64_t time) {
    event_.event_source_id.Set(source);
    event_.event_time.Set(time);
    event_.Insert(connection_, true);
  }
  void InsertStep(uint16_t channel, uint8_t index) {
    post_process_.channel_id.Set(channel);
    post_process_.post_process_index.Set(index);
    post_process_.Insert(connection_, true);
  }
  std::vector<int64_t> StepIndexes(uint16_t channel) {
    const auto query = connection_.ExecuteQuery(
        SqlCommand("select post_process_index from post_process where channel_id = " +
                   std::to_string(channel) + " order by post_process_index"));
    std::vector<int64_t> indexes;
    for (; query->HasRow(); query->NextRow()) indexes.push_back(query->GetInt64(0));
    return indexes;
  }

  DataTable data_;
  EventTable event_;
  PostProcessTable post_process_;
};

struct RangeCase {
  int64_t start;
  int64_t end;
  std::vector<int64_t> block_starts;
};

void PrintTo(const RangeCase& range, std::ostream* out) {
  *out << range.start << "to" << range.end;
}

class IndexDataRangeTest : public IndexQueriesTest,
                           public ::testing::WithParamInterface<RangeCase> {};

// Group 1 holds blocks [10, 20], [20, 30] and [40, 50]; group 2 one block
// that covers them all and must never show up.
TEST_P(IndexDataRangeTest, ReturnsTheBlocksThatOverlapTheRangeInStartOrder) {
  InsertBlock(1, 40, 50);
  InsertBlock(1, 10, 20);
  InsertBlock(1, 20, 30);
  InsertBlock(2, 0, 100);
  std::vector<int64_t> starts;
  for (const DataRecordRef& record :
       DataTable::SelectDataInRange(connection_, 1, GetParam().start, GetParam().end)) {
    EXPECT_EQ(record.offset, record.start_time_offset * 100);
    EXPECT_EQ(record.end_time_offset, record.start_time_offset + 10);
    starts.push_back(record.start_time_offset);
  }
  EXPECT_EQ(starts, GetParam().block_starts);
}

// At an instant where one block ends and the next begins, the range starts
// from the later block: the lower bound is the latest block starting at or
// before the range's start.
INSTANTIATE_TEST_SUITE_P(Ranges, IndexDataRangeTest,
                         ::testing::Values(RangeCase{20, 20, {20}},
                                           RangeCase{30, 30, {20}},  // ends at the instant
                                           RangeCase{0, 15, {10}},   // before the first
                                           RangeCase{-5, 5, {}}, RangeCase{25, 45, {20, 40}},
                                           RangeCase{32, 38, {}},    // in a gap
                                           RangeCase{50, 60, {40}},  // ends at the start
                                           RangeCase{51, 60, {}},    // after the last
                                           RangeCase{0, 1000, {10, 20, 40}}));

TEST_F(IndexQueriesTest, AnInvertedDataRangeIsRefused) {
  EXPECT_THAT(Failure([&] { DataTable::SelectDataInRange(connection_, 1, 21, 20); }),
              Pair(36, "The startTime exceeds endTime."));
}

TEST_F(IndexQueriesTest, TheLastDataEndTimeIsTheEndOfTheLatestStartingBlock) {
  InsertBlock(1, 10, 90);
  InsertBlock(1, 40, 45);
  InsertBlock(1, 40, 50);
  InsertBlock(2, 60, 70);
  EXPECT_EQ(DataTable::GetLastDataEndTime(connection_, 1), 50);
  EXPECT_EQ(DataTable::GetLastDataEndTime(connection_, 3), 0);
}

TEST_F(IndexQueriesTest, EventsInRangeIncludeBothBoundsInTimeOrder) {
  for (const int64_t time : {20, 10, 5, 15}) InsertEvent(1, time);  // ids 1 to 4
  InsertEvent(2, 12);
  EXPECT_EQ(EventTable::SelectEventsInRange(connection_, 1, 10, 20),
            (std::vector<uint32_t>{2, 4, 1}));
  EXPECT_EQ(EventTable::SelectEventsInRange(connection_, 1, 20, 10), std::vector<uint32_t>{});
  EXPECT_EQ(EventTable::GetLastEventTime(connection_, 1), 20);
  EXPECT_EQ(EventTable::GetLastEventTime(connection_, 3), 0);
}

TEST_F(IndexQueriesTest, ShiftingMovesTheChannelsStepsFromThePositionOn) {
  for (const uint8_t index : {0, 1, 2}) InsertStep(7, index);
  InsertStep(8, 0);
  post_process_.channel_id.Set(7);
  post_process_.post_process_index.Set(3);
  const int32_t pending = connection_.PendingStatements();
  post_process_.ShiftPostProcessIndexes(connection_);  // past the end: nothing to move
  EXPECT_EQ(connection_.PendingStatements(), pending);
  EXPECT_EQ(StepIndexes(7), (std::vector<int64_t>{0, 1, 2}));

  post_process_.post_process_index.Set(0);
  post_process_.ShiftPostProcessIndexes(connection_);
  EXPECT_EQ(StepIndexes(7), (std::vector<int64_t>{1, 2, 3}));
  EXPECT_EQ(StepIndexes(8), (std::vector<int64_t>{0}));
}

TEST_F(IndexQueriesTest, AShiftedIndexOf255IsStoredAs256AndReadsAs0) {
  InsertStep(7, 255);
  post_process_.ShiftPostProcessIndexes(connection_);
  EXPECT_EQ(StepIndexes(7), (std::vector<int64_t>{256}));
  PostProcessTable reader;
  ASSERT_TRUE(reader.SelectFirst(connection_, ColumnFilter{}));
  EXPECT_EQ(reader.post_process_index.Value(), 0);
}

}  // namespace
}  // namespace Varnholt::KrdFiles::Index
