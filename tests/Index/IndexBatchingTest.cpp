// How counted statements are grouped into transactions.

#include <sqlite3.h>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/DataTable.h"
#include "tests/Index/IndexTestSupport.h"
#include "tests/TestSupport/FaultSchedule.h"

namespace Varnholt::KrdFiles::Index {
namespace {

class IndexBatchingTest : public CreatedIndexTest {
 protected:
  // One counted insert of a data block of group 1 starting at `start`.
  void InsertBlock(int64_t start) {
    data_.channel_group_id.Set(1);
    data_.start_time_offset.Set(start);
    data_.end_time_offset.Set(start + 1);
    data_.Insert(connection_, false);
  }
  void InsertBlocks(int64_t count) {
    for (int64_t start = 0; start < count; ++start) InsertBlock(start);
  }

  DataTable data_;
};

TEST_F(IndexBatchingTest, TheHundredthCountedStatementCommitsTheBatch) {
  InsertBlocks(99);
  EXPECT_EQ(connection_.PendingStatements(), 99);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 0);

  InsertBlock(99);
  EXPECT_EQ(connection_.PendingStatements(), 0);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 100);

  InsertBlock(100);  // a new transaction is open for the next batch
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 100);
}

TEST_F(IndexBatchingTest, CommitIfDueCommitsOnlyOnceTheIntervalHasStrictlyPassed) {
  InsertBlock(0);
  clock_->Advance(6000);
  InsertBlock(1);  // the deadline runs from the batch's first statement
  clock_->Advance(4000);
  connection_.CommitIfDue();
  EXPECT_EQ(connection_.PendingStatements(), 2);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 0);

  clock_->Advance(1);
  connection_.CommitIfDue();
  EXPECT_EQ(connection_.PendingStatements(), 0);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 2);
}

TEST_F(IndexBatchingTest, AStatementAfterTheIntervalDoesNotCommitByItself) {
  InsertBlock(0);
  clock_->Advance(20000);
  InsertBlock(1);
  EXPECT_EQ(connection_.PendingStatements(), 2);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 0);
}

TEST_F(IndexBatchingTest, EveryStatementReadsTheCurrentLimits) {
  SetCommitLimits(3, 500);
  InsertBlocks(3);
  EXPECT_EQ(connection_.PendingStatements(), 0);
  InsertBlock(3);
  clock_->Advance(501);
  connection_.CommitIfDue();
  EXPECT_EQ(connection_.PendingStatements(), 0);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 4);
}

TEST_F(IndexBatchingTest, CloseCommitsTheBatch) {
  InsertBlocks(5);
  connection_.Close();
  EXPECT_FALSE(connection_.IsOpen());
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 5);
}

TEST_F(IndexBatchingTest, AFailedStatementIsNotCountedAndKeepsTheBatch) {
  InsertBlocks(3);
  EXPECT_EQ(Failure([&] { InsertBlock(2); }).first, 41);  // primary key taken
  EXPECT_EQ(connection_.PendingStatements(), 3);
  InsertBlock(3);
  connection_.Close();
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 4);
}

// A reader's snapshot is fixed by its first read until released; a
// connection with writes pending keeps its batch.
TEST_F(IndexBatchingTest, ReleasingAReadSnapshotShowsLaterCommitsAndKeepsPendingWrites) {
  SetCommitLimits(2, 10000);
  auto reader = OpenReader();
  EXPECT_EQ(RowCount(*reader, "data"), 0);
  InsertBlocks(2);  // one batch, committed
  EXPECT_EQ(RowCount(*reader, "data"), 0);
  reader->ReleaseReadSnapshot();
  EXPECT_EQ(RowCount(*reader, "data"), 2);

  InsertBlock(2);
  connection_.ReleaseReadSnapshot();
  EXPECT_EQ(connection_.PendingStatements(), 1);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 2);
}

// Host calls on the connection: a failing call takes back its own
// statements and nothing else, whatever else the batch holds.
TEST_F(IndexBatchingTest, AFailingCallUndoesItsOwnStatementsOnly) {
  InsertBlock(0);  // before any call
  connection_.BeginOperation();
  InsertBlock(1);
  connection_.EndOperation(true);

  connection_.BeginOperation();
  InsertBlock(2);
  InsertBlock(3);
  EXPECT_EQ(Failure([&] { InsertBlock(1); }).first, 41);  // primary key taken
  connection_.EndOperation(false);
  EXPECT_EQ(connection_.PendingStatements(), 2);

  connection_.BeginOperation();
  InsertBlock(2);  // free again
  connection_.EndOperation(true);
  connection_.Close();
  auto reader = OpenReader();
  EXPECT_EQ(RowCount(*reader, "data"), 3);
  EXPECT_EQ(QueryInt64(*reader, "SELECT max(start_time_offset) FROM data"), 2);
}

TEST_F(IndexBatchingTest, ABatchThatFillsDuringACallIsCommittedWhenTheCallEnds) {
  SetCommitLimits(2, 10000);
  connection_.BeginOperation();
  connection_.BeginOperation();  // a nested call leaves the decision to the outer one
  InsertBlocks(3);
  connection_.EndOperation(true);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 0);
  connection_.EndOperation(true);
  EXPECT_EQ(connection_.PendingStatements(), 0);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 3);
}

// The hook a recorder syncs its data file in: it runs before every commit
// that carries writes, and when it fails nothing is committed and nothing is
// lost; the next commit takes the whole batch.
TEST_F(IndexBatchingTest, TheHookBeforeACommitHoldsTheCommitBackWhenItFails) {
  int syncs = 0;
  bool fail = true;
  connection_.SetBeforeCommit([&] {
    ++syncs;
    if (fail) throw Errors::KrdFileWriteFailed();
  });
  connection_.RequestCommit();  // nothing written: no sync
  EXPECT_EQ(syncs, 0);
  InsertBlocks(2);
  EXPECT_EQ(Failure([&] { connection_.RequestCommit(); }).first, 36);
  EXPECT_EQ(connection_.PendingStatements(), 2);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 0);
  EXPECT_EQ(Failure([&] { InsertBlock(2); }).first, 36) << "nothing joins a batch held back";
  fail = false;
  InsertBlock(2);
  EXPECT_EQ(syncs, 3);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 2) << "the batch held back went first";
  connection_.Close();
  EXPECT_EQ(syncs, 4);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 3);
}

// A batch that SQLite threw away after a failed write is run again before
// the next statement. While the disk stays full that replay fails too (the
// batch no longer fits the page cache, so running it writes), and each later
// statement tries it again; once there is room the whole batch goes in.
class IndexLostBatchTest : public IndexBatchingTest {
 protected:
  void SetUp() override {
    Testing::FaultSchedule::Process();  // the fault VFS, before the index opens
    IndexBatchingTest::SetUp();
  }
  void TearDown() override {
    Testing::FaultSchedule::Process().Disarm();
    IndexBatchingTest::TearDown();
  }
};

TEST_F(IndexLostBatchTest, AReplayThatFailsIsTriedAgainUntilTheBatchGoesIn) {
  SetCommitLimits(100000, 3600000);
  connection_.ExecuteNonQuery(SqlCommand("PRAGMA cache_size=2"));
  InsertBlocks(3000);
  Testing::FaultPlan full;
  full.kind = Testing::FaultPlan::Kind::kDiskFull;
  full.first = 1;
  full.span = Testing::FaultPlan::kForever;
  full.index_error = SQLITE_IOERR_WRITE;
  full.index_only = true;
  Testing::FaultSchedule::Process().Arm(full);
  EXPECT_EQ(Failure([&] { connection_.RequestCommit(); }).first, 41);
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_EQ(Failure([&] { InsertBlock(3000); }).first, 41) << "attempt " << attempt;
  }
  Testing::FaultSchedule::Process().Disarm();
  InsertBlock(3000);
  InsertBlock(3001);  // and only once
  connection_.Close();
  EXPECT_EQ(RowCount(*OpenReader(), "data"), 3002);
}

// Rebuilding an index switches synchronous writes off with one counted
// statement; it must also work when every statement commits.
class IndexDisableSynchronousWritesTest : public CreatedIndexTest,
                                          public ::testing::WithParamInterface<int32_t> {};

TEST_P(IndexDisableSynchronousWritesTest, CountsItsPragmaAndKeepsATransactionOpen) {
  const int32_t batch_size = GetParam();
  SetCommitLimits(batch_size, kDefaultCommitIntervalMs);
  connection_.DisableSynchronousWrites();
  EXPECT_EQ(connection_.PendingStatements(), batch_size == 1 ? 0 : 1);
  EXPECT_EQ(QueryInt64(connection_, "PRAGMA synchronous"), 0);

  DataTable data;
  data.Insert(connection_, false);
  EXPECT_EQ(RowCount(*OpenReader(), "data"), batch_size == 1 ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(BatchSizes, IndexDisableSynchronousWritesTest, ::testing::Values(100, 1));

}  // namespace
}  // namespace Varnholt::KrdFiles::Index
