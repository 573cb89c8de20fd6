#include "KrdFileLibApi/FileOperation.h"

#include <gtest/gtest.h>

#include <new>

#include "KrdFileLib/Errors.h"
#include "KrdFileLib/Index/CommitLimits.h"
#include "KrdFileLib/Index/SqlCommand.h"
#include "KrdFileLibApi/MaintenanceThread.h"
#include "tests/TestSupport/FakeClock.h"
#include "tests/TestSupport/TempDir.h"

namespace Varnholt::KrdFiles {
namespace {

// A file object whose index is real, so that batches and commits can be seen.
class IndexedFile : public KrfFileBase {
 public:
  IndexedFile(const std::string& krq_path, std::shared_ptr<const CommonLib::IClock> clock)
      : KrfFileBase("unused.krd", krq_path, nullptr, std::move(clock)) {
    index_.Create();
  }
  void Open() override {}
  Index::IndexConnection& IndexOf() { return index_; }
  void Insert() {
    std::lock_guard lock(Mutex());
    index_.ExecuteCounted(Index::SqlCommand("insert into device(parent_id) values (1)"));
  }
};

class FileOperationTest : public ::testing::Test {
 protected:
  void SetUp() override { Index::SetCommitLimits(1000, 1000); }
  void TearDown() override {
    Index::SetCommitLimits(Index::kDefaultStatementsPerCommit, Index::kDefaultCommitIntervalMs);
  }

  uint32_t OpenFile() {
    file_ = std::make_shared<IndexedFile>(dir_.File("rec" + std::to_string(++files_) + ".krq"), clock_);
    return table_.Issue(file_);
  }
  std::string Message(uint32_t handle) { return table_.MostRecentMessage(handle).value_or("<none>"); }

  Testing::TempDir dir_;
  std::shared_ptr<Testing::FakeClock> clock_ = std::make_shared<Testing::FakeClock>();
  KrfFileTable table_{std::make_shared<FileLibrarySettings>()};
  std::shared_ptr<IndexedFile> file_;
  int files_ = 0;
};

TEST_F(FileOperationTest, OutcomeIsRecordedAgainstTheHandle) {
  const uint32_t handle = OpenFile();
  EXPECT_EQ(RunFileOperation(table_, handle, [](KrfFileBase&) { throw Errors::ChannelNotFound(4); }), 21);
  EXPECT_EQ(Message(handle), "Could not find an channel with the ID 4");
  EXPECT_EQ(RunFileOperation(table_, handle, [](KrfFileBase&) {}), 0);
  EXPECT_EQ(Message(handle), "") << "a success clears the last error";
}

TEST_F(FileOperationTest, ForeignExceptionsAreCode36WithTheUnexpectedText) {
  const uint32_t handle = OpenFile();
  EXPECT_EQ(RunFileOperation(table_, handle, [](KrfFileBase&) { throw std::bad_alloc(); }), 36);
  EXPECT_EQ(Message(handle), "An unexpexted error (unrecognized exception) occured.");
}

TEST_F(FileOperationTest, MaintenancePassCommitsOnlyBatchesThatAreDue) {
  OpenFile();
  auto due = file_;
  OpenFile();
  auto fresh = file_;
  due->Insert();
  clock_->Advance(1001);
  fresh->Insert();
  MaintenanceThread::RunPass(table_);
  EXPECT_EQ(due->IndexOf().PendingStatements(), 0);
  EXPECT_EQ(fresh->IndexOf().PendingStatements(), 1);
}

}  // namespace
}  // namespace Varnholt::KrdFiles
