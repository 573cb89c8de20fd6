#include "KrdFileLibApi/KrfFileTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

#include "KrdFileLib/Errors.h"
#include "tests/TestSupport/Outcomes.h"

namespace Varnholt::KrdFiles {
namespace {

using Testing::Failure;

class CountingFile : public KrfFileBase {
 public:
  CountingFile() : KrfFileBase("unused.krd", "unused.krq", nullptr, nullptr) {}
  void Open() override {}
  void Close() override {
    ++closes;
    if (fail_on_close) throw Errors::KrdFileNotOpen();
  }
  std::atomic<int> closes{0};
  bool fail_on_close = false;
};

class KrfFileTableTest : public ::testing::Test {
 protected:
  std::shared_ptr<CountingFile> NewFile() { return std::make_shared<CountingFile>(); }

  KrfFileTable table_{std::make_shared<FileLibrarySettings>()};
};

TEST_F(KrfFileTableTest, FetchRejectsNullUnknownAndClosedHandles) {
  auto file = NewFile();
  const uint32_t handle = table_.Issue(file);
  EXPECT_EQ(table_.Fetch(handle), file);
  EXPECT_EQ(Failure([&] { table_.Fetch(0); }), std::make_pair(7, std::string("File handle was NULL.")));
  EXPECT_EQ(Failure([&] { table_.Fetch(2); }), std::make_pair(7, std::string("File handle was invalid.")));
  table_.Close(handle);
  EXPECT_EQ(Failure([&] { table_.Fetch(handle); }),
            std::make_pair(7, std::string("File handle was previously closed.")));
}

TEST_F(KrfFileTableTest, CloseClosesTheFileOnceAndASecondCloseFails) {
  auto file = NewFile();
  const uint32_t handle = table_.Issue(file);
  table_.Close(handle);
  EXPECT_EQ(file->closes, 1);
  EXPECT_EQ(Failure([&] { table_.Close(handle); }),
            std::make_pair(7, std::string("File handle was previously closed.")));
  EXPECT_EQ(file->closes, 1);
}

TEST_F(KrfFileTableTest, SlotIsFreedEvenWhenTheFilesCloseFails) {
  auto file = NewFile();
  file->fail_on_close = true;
  const uint32_t handle = table_.Issue(file);
  EXPECT_EQ(Failure([&] { table_.Close(handle); }).first, 37);
  EXPECT_EQ(table_.FileInSlot(handle - 1), nullptr);
  EXPECT_EQ(table_.Issue(NewFile()), handle);
}

TEST_F(KrfFileTableTest, MessagesAreKeptPerHandleAndSurviveClose) {
  const uint32_t first = table_.Issue(NewFile());
  const uint32_t second = table_.Issue(NewFile());
  EXPECT_EQ(table_.MostRecentMessage(first), "");
  table_.RecordMessage(first, "first failed");
  table_.RecordMessage(second, "second failed");
  EXPECT_EQ(table_.MostRecentMessage(first), "first failed");

  table_.Close(first);
  EXPECT_EQ(table_.MostRecentMessage(first), "") << "a successful close clears the text";
  table_.RecordMessage(first, "File handle was previously closed.");
  EXPECT_EQ(table_.MostRecentMessage(first), "File handle was previously closed.");
  EXPECT_EQ(table_.MostRecentMessage(second), "second failed");
}

TEST_F(KrfFileTableTest, ConcurrentOpenAndCloseNeverShareAHandle) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 500;
  std::atomic<int> clashes{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        auto file = NewFile();
        const uint32_t handle = table_.Issue(file);
        if (table_.Fetch(handle) != file) ++clashes;
        table_.RecordMessage(handle, "busy");
        table_.Close(handle);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(clashes, 0);
  EXPECT_LE(table_.SlotCount(), static_cast<std::size_t>(kThreads));
}

}  // namespace
}  // namespace Varnholt::KrdFiles
