// A recording whose host is killed mid-recording: the child program
// records thousands of blocks and events and is killed at a chosen write
// (after putting part of it down) or after a random delay. Then the pair
// must show nothing worse than a torn last packet and packets the index has
// not caught up with, be clean after a repair, and give back every block
// and event whose call had returned 0, byte for byte.
//
// KRD_CRASH_POINTS sets how many kill points the test tries in all
// (`make crash-test` runs thousands).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Recovery/PairRecovery.h"
#include "KrdFileLibApi.h"
#include "tests/Api/TestHost.h"
#include "tests/Crash/ChildRun.h"
#include "tests/TestSupport/PointFailures.h"
#include "tests/TestSupport/RecordingCheck.h"
#include "tests/TestSupport/TempDir.h"

namespace Varnholt::Testing {
namespace {

namespace Recovery = KrdFiles::Recovery;
using std::chrono::microseconds;

constexpr int kBlocks = 3000;
constexpr int kShards = 8;
constexpr int kDefaultPoints = 240;
// Of every four kill points, three are at a write and one after a delay.
constexpr int kWritePointsPerFour = 3;

int TotalPoints() {
  const char* setting = std::getenv("KRD_CRASH_POINTS");
  return setting == nullptr ? kDefaultPoints : std::max(kShards, std::atoi(setting));
}

struct Pair {
  TempDir dir{TempDir::InMemoryWherePossible()};
  std::string krd = dir.File("c.krd");
  std::string krq = dir.File("c.krq");
};

// The steps the child reported written, with the IDs they created; every
// block's report must match the script's block.
WrittenSteps WrittenByChild(const ChildRun& child, const RecordingScript& script) {
  WrittenSteps written;
  for (const CrashReport& report : child.reports) {
    if (report.kind != CrashReport::kWritten) continue;
    const ScriptStep& step = script.Steps().at(report.step);
    written.steps.push_back(report.step);
    if (!step.creates.empty()) written.ids[step.creates] = static_cast<uint32_t>(report.value);
    if (step.block) {
      EXPECT_EQ(report.group, written.ids.at(step.block->Group().slot)) << step.text;
      EXPECT_EQ(report.start, step.block->start) << step.text;
      EXPECT_EQ(report.length, step.block->frames * step.block->Group().FrameSize()) << step.text;
      EXPECT_EQ(report.seed, step.block->seed) << step.text;
    }
  }
  return written;
}

// What a crash may leave: a torn last packet and packets without rows.
void ExpectOnlyCrashFindings(const Recovery::VerifyReport& report) {
  EXPECT_FALSE(report.damage || !report.bad_rows.empty() || report.guid_mismatch ||
               report.index_unusable)
      << report.Describe();
}

// Verify, Repair, Verify again, and read back everything the child
// reported. Without a reported header there may be no recording to repair.
void ExpectRecovered(const ChildRun& child, const Pair& pair, const RecordingScript& script) {
  for (const CrashReport& report : child.reports) {
    EXPECT_NE(report.kind, CrashReport::kFailed)
        << script.Steps().at(report.step).text << " returned " << report.value;
  }
  const WrittenSteps written = WrittenByChild(child, script);
  const bool has_header = !written.steps.empty() && written.steps.front() == 0;
  try {
    const Recovery::VerifyReport found = Recovery::Verify(pair.krd, pair.krq);
    if (has_header) ExpectOnlyCrashFindings(found);
    Recovery::Repair(pair.krd, pair.krq);
  } catch (const KrdFiles::ApiException& e) {
    EXPECT_FALSE(has_header) << "recovery failed with " << e.Code() << ": " << e.what();
    return;
  }
  const Recovery::VerifyReport repaired = Recovery::Verify(pair.krd, pair.krq);
  EXPECT_TRUE(repaired.IsClean()) << repaired.Describe();
  KrdFileHandle file = 0;
  ASSERT_EQ(Open(HostBytes(pair.krd).String(), HostBytes(pair.krq).String(), 0, &file), 0);
  EXPECT_THAT(ReadBackProblems(file, script, written, /*nothing_after=*/false),
              ::testing::IsEmpty());
  Close(file);
}

class CrashRecoveryTest : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override { ASSERT_EQ(RecordingScript::InitializeLibrary(100, 10000), 0); }

  uint32_t Seed() const { return static_cast<uint32_t>(GetParam()) + 1; }

  ChildRun Run(const Pair& pair, uint64_t crash_at, std::optional<microseconds> kill_after) {
    return RunChild(KRD_CRASH_CHILD, {pair.krd, pair.krq, crash_at, Seed(), kBlocks, kill_after});
  }
};

TEST_P(CrashRecoveryTest, EveryReportedBlockAndEventSurvivesAKill) {
  const RecordingScript script(CrashShape(Seed(), kBlocks));
  // The unharmed run: how many writes it makes and how long it takes.
  const Pair clean_pair;
  const ChildRun clean = Run(clean_pair, 0, std::nullopt);
  ASSERT_TRUE(clean.error.empty()) << clean.error;
  ASSERT_EQ(clean.exit_status, 0);
  ASSERT_FALSE(clean.reports.empty());
  ASSERT_EQ(clean.reports.back().kind, CrashReport::kClosed);
  ExpectRecovered(clean, clean_pair, script);
  const uint64_t writes = clean.reports.back().value;

  // This shard's kill points: write numbers interleaved with the other
  // shards' over all writes, and delays up to the unharmed run's length.
  const int points = TotalPoints() / kShards;
  const int write_points = points * kWritePointsPerFour / 4;
  std::mt19937_64 random(Seed());
  const auto longest = std::chrono::duration_cast<microseconds>(clean.duration) * 11 / 10;
  PointFailures failures;
  for (int point = 0; point < points; ++point) {
    failures.Check(point, [&] {
      const Pair pair;
      ChildRun child;
      if (point < write_points) {
        const uint64_t slot = static_cast<uint64_t>(point) * kShards + GetParam();
        const uint64_t write = 1 + slot * writes / (static_cast<uint64_t>(write_points) * kShards);
        SCOPED_TRACE("point " + std::to_string(point) + ": killed at write " +
                     std::to_string(write) + " of " + std::to_string(writes));
        child = Run(pair, write, std::nullopt);
        ExpectRecovered(child, pair, script);
      } else {
        const microseconds delay(random() % static_cast<uint64_t>(longest.count() + 1));
        SCOPED_TRACE("point " + std::to_string(point) + ": killed after " +
                     std::to_string(delay.count()) + " us");
        child = Run(pair, 0, delay);
        ExpectRecovered(child, pair, script);
      }
      EXPECT_TRUE(child.error.empty()) << child.error;
      EXPECT_TRUE(child.killed || child.exit_status == 0) << "exit status " << child.exit_status;
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Shards, CrashRecoveryTest, ::testing::Range(0, kShards));

}  // namespace
}  // namespace Varnholt::Testing
