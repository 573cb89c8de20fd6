// Host threads calling in at once, on their own handles and on a shared
// one, while files open and close and the maintenance thread commits.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "KrdFileLibApi.h"
#include "tests/Api/HostFixture.h"
#include "tests/Api/RecordingStructure.h"
#include "tests/Api/TestHost.h"
#include "tests/TestSupport/IndexSql.h"

namespace Varnholt::Testing {
namespace {

class HostConcurrencyTest : public HostFixture {
 protected:
  // The label as another connection sees it: only what has been committed.
  std::string CommittedLabel(const std::string& krq) {
    return QueryColumn(dir_.File(krq), "SELECT label FROM file_information");
  }
};

TEST_F(HostConcurrencyTest, ThreadsShareTheLibraryWhileTheMaintenanceThreadCommits) {
  Configure(/*batch_size=*/100000, /*commit_interval_ms=*/20);
  RecordComplete("shared");
  const KrdFileHandle shared = OpenOrFail("shared", kEdit);
  constexpr int kOwners = 3;
  constexpr int kRounds = 40;
  std::atomic<int> failures{0};
  auto expect = [&](bool ok) { failures += ok ? 0 : 1; };
  std::vector<std::thread> threads;

  for (int owner = 0; owner < kOwners; ++owner) {
    const std::string name = "own" + std::to_string(owner);
    const KrdFileHandle own = OpenOrFail(name, kRecord);
    threads.emplace_back([&, own, name] {
      HostBytes label(name);
      expect(CreateHeader(own, 1000, 1, label.String()) == 0);
      for (int round = 0; round < kRounds; ++round) {
        HostBytes text(name + " round " + std::to_string(round));
        expect(SetAnnotation(own, text.String()) == 0);
        KrdStringHandle read = nullptr;
        expect(GetAnnotation(own, &read) == 0);
        expect(TakeBytes(read) == name + " round " + std::to_string(round));
        expect(SetFileLabel(shared, label.String()) == 0);
        KrdStringHandle shared_label = nullptr;
        expect(GetFileLabel(shared, &shared_label) == 0);
        expect(TakeBytes(shared_label).rfind("own", 0) == 0);
        LastMessage(shared);
      }
    });
  }
  threads.emplace_back([&] {  // opens and closes files beside the others
    for (int round = 0; round < kRounds; ++round) {
      KrdFileHandle file = 0;
      HostBytes krd(dir_.File("shared.krd"));
      HostBytes krq(dir_.File("shared.krq"));
      expect(Open(krd.String(), krq.String(), kRead, &file) == 0);
      uint32_t time_base = 0;
      expect(GetTimeBase(file, &time_base) == 0 && time_base == 1000);
      expect(Close(file) == 0);
      expect(GetTimeBase(file, &time_base) == 7);
    }
  });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);

  // The shared file's last label is committed by time alone, while it is open.
  HostBytes final_label("final");
  ASSERT_EQ(SetFileLabel(shared, final_label.String()), 0);
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (CommittedLabel("shared.krq") != "final" && std::chrono::steady_clock::now() < give_up) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(CommittedLabel("shared.krq"), "final");
}

// A host that shows a recording while it is being made: a reader handle on
// the pair sees what the recorder commits after the reader's first read,
// once the maintenance thread has let go of the reader's snapshot.
TEST_F(HostConcurrencyTest, AReaderFollowsARecordingInProgress) {
  Configure(/*batch_size=*/1, /*commit_interval_ms=*/10000);
  const KrdFileHandle recorder = OpenOrFail("live", kRecord);
  HostBytes first("first");
  ASSERT_EQ(CreateHeader(recorder, 1000, 1, first.String()), 0);
  const KrdFileHandle reader = OpenOrFail("live", kRead);
  auto label_of_reader = [&] {
    KrdStringHandle label = nullptr;
    EXPECT_EQ(GetFileLabel(reader, &label), 0);
    return TakeBytes(label);
  };
  EXPECT_EQ(label_of_reader(), "first");

  HostBytes second("second");
  ASSERT_EQ(SetFileLabel(recorder, second.String()), 0);
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (label_of_reader() != "second" && std::chrono::steady_clock::now() < give_up) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(label_of_reader(), "second");
}

// A host that stopped the maintenance thread (Terminate) and goes on
// reading: a reader sees each commit at its next call, and between calls
// holds no snapshot that would keep the write-ahead log from being folded
// back. Terminate stops the thread for the rest of the process; ctest runs
// each test in a process of its own.
TEST_F(HostConcurrencyTest, AReaderFollowsARecordingWithoutTheMaintenanceThread) {
  Terminate();
  Configure(/*batch_size=*/100, /*commit_interval_ms=*/600000, 64 * 1024, {{1, 8}});
  const KrdFileHandle recorder = OpenOrFail("live", kRecord);
  uint16_t id = 0;
  ASSERT_EQ(CreateHeader(recorder, 1000, 1, HostBytes("live").String()), 0);
  ASSERT_EQ(CreateChannelGroup(recorder, 1, 1, 1, &id), 0);
  const KrdFileHandle reader = OpenOrFail("live", kRead);
  constexpr int64_t kBlocks = 12000;
  for (int64_t block = 0; block < kBlocks; ++block) {
    ASSERT_EQ(RecordChannelGroupData(recorder, 1, block, HostBytes("8 bytes!").Array()), 0);
    if (block % 1000 != 999) continue;
    int64_t latest = -1;
    ASSERT_EQ(GetMaxChGroupTime(reader, 1, &latest), 0);
    EXPECT_GE(latest, block - 100) << "the reader sees every batch committed before its call";
  }
  EXPECT_LT(std::filesystem::file_size(dir_.File("live.krq-wal")), 6u << 20)
      << "the log is folded back while the reader is open";
}

// A second writer on a pair, with the maintenance thread running or stopped
// (Terminate): an editor, in this process or another, is refused at Open
// while the recorder holds the pair, and the recorder goes on and loses
// nothing; once the recorder has closed, one editor at a time opens it.
// Readers are never refused.
class SecondWriterTest : public HostFixture, public ::testing::WithParamInterface<bool> {
 protected:
  // DebugOpen's code and text.
  std::string OpenOutcome(const std::string& name, uint8_t mode) {
    HostBytes krd(dir_.File(name + ".krd"));
    HostBytes krq(dir_.File(name + ".krq"));
    KrdFileHandle file = 0;
    KrdStringHandle text = nullptr;
    const int32_t code = DebugOpen(krd.String(), krq.String(), mode, &file, &text);
    if (code == 0) opened_.push_back(file);
    return std::to_string(code) + " " + TakeBytes(text);
  }
  // Open's code in a second process. Forked, so only while this process
  // runs no other thread (the maintenance thread stopped).
  int32_t OpenInAnotherProcess(const std::string& name, uint8_t mode) {
    const pid_t child = fork();
    if (child == 0) {
      HostBytes krd(dir_.File(name + ".krd"));
      HostBytes krq(dir_.File(name + ".krq"));
      KrdFileHandle file = 0;
      _exit(Open(krd.String(), krq.String(), mode, &file));
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
  }
};

TEST_P(SecondWriterTest, IsRefusedAtOpenAndTheFirstWriterLosesNothing) {
  const bool maintenance = GetParam();
  if (!maintenance) {
    ASSERT_EQ(Terminate(), 0);
  }
  const std::string in_use =
      "36 The KRD file (" + dir_.File("pair.krd") + ") is already open for writing.";
  const KrdFileHandle recorder = OpenOrFail("pair", kRecord);
  DescribeStandardSetUp(recorder);
  EXPECT_EQ(OpenOutcome("pair", kEdit), in_use);
  if (!maintenance) {
    EXPECT_EQ(OpenInAnotherProcess("pair", kEdit), 36);
  }
  uint32_t event = 0;
  EXPECT_EQ(CreateEvent(recorder, 1, 70, HostBytes("late").Array(), &event), 0);
  EXPECT_EQ(SetFileLabel(recorder, HostBytes("relabelled").String()), 0);
  const std::string recorded = StructureOf(recorder);
  EXPECT_EQ(OpenOutcome("pair", kRead), "0 ");
  EXPECT_EQ(Close(recorder), 0);

  const KrdFileHandle editor = OpenOrFail("pair", kEdit);
  EXPECT_EQ(OpenOutcome("pair", kEdit), in_use);
  if (!maintenance) {
    EXPECT_EQ(OpenInAnotherProcess("pair", kEdit), 36);
  }
  EXPECT_EQ(StructureOf(editor), recorded);
  EXPECT_EQ(Close(editor), 0);
  HostBytes krd(dir_.File("pair.krd"));
  HostBytes rebuilt(dir_.File("rebuilt.krq"));
  ASSERT_EQ(CreateIndex(krd.String(), rebuilt.String()), 0);
  EXPECT_EQ(StructureOf(OpenOrFail("pair", kRead, "rebuilt")), recorded)
      << "every packet reached the data file";
}

// The maintenance thread first: Terminate stops it for the rest of the process.
INSTANTIATE_TEST_SUITE_P(HostConcurrency, SecondWriterTest, ::testing::Values(true, false),
                         [](const auto& info) {
                           return info.param ? "WithMaintenanceThread" : "AfterTerminate";
                         });

}  // namespace
}  // namespace Varnholt::Testing
