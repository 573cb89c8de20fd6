// A recording under failing writes: one write of the recording fails (a
// short data-file write, or the index's write failing with a full disk or
// an I/O error), the disk is full for a while, or it stays full until the
// recording is closed. The write is picked by number across both files, at
// points spread over every write a clean run of the script makes.
//
// What must hold: every failing call returns a data-file or index code with
// a text; a failing call changes neither file, so a pair that was closed
// after the fault reads exactly as a clean run of only the calls that
// returned 0; and a pair whose disk stayed full opens after a repair with
// every block and event whose call returned 0.
//
// KRD_FAULT_POINTS sets how many write numbers each kind of fault is tried
// at ("all" for every one).

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "KrdFileLib/Exceptions.h"
#include "KrdFileLib/Recovery/PairRecovery.h"
#include "tests/Api/HostFixture.h"
#include "tests/Faults/FaultRun.h"
#include "tests/TestSupport/PointFailures.h"
#include "tests/TestSupport/TempDir.h"

namespace Varnholt::Testing {
namespace {

namespace Recovery = KrdFiles::Recovery;

constexpr ScriptShape kShape{
    .blocks = 300, .max_frames = 40, .event_every = 5, .edits = true, .seed = 7};
// A small batch, so that the index commits every few calls.
constexpr int32_t kBatchSize = 8;
// Tries per call while the disk refuses writes for a while.
constexpr int kAttempts = 10;
constexpr int kShards = 4;
constexpr uint64_t kDefaultPointsPerKind = 300;

struct FaultKind {
  const char* name;
  FaultPlan::Kind kind;
  uint64_t span;
  int index_error;
};
const FaultKind kKinds[] = {
    {"WriteFailsAsOnAFullDisk", FaultPlan::Kind::kFailOnce, 1, SQLITE_FULL},
    {"WriteFailsWithAnIoError", FaultPlan::Kind::kFailOnce, 1, SQLITE_IOERR_WRITE},
    {"DiskFullForSixWrites", FaultPlan::Kind::kDiskFull, 6, SQLITE_FULL},
    {"DiskFullUntilClosed", FaultPlan::Kind::kDiskFull, FaultPlan::kForever, SQLITE_FULL},
};

// The codes of a failed data-file write (36) or index statement (41).
bool IsFaultCode(int32_t code) { return code == 36 || code == 41; }

const RecordingScript& Script() {
  static const RecordingScript script(kShape);
  return script;
}

uint64_t PointsPerKind(uint64_t writes) {
  const char* setting = std::getenv("KRD_FAULT_POINTS");
  if (setting == nullptr) return kDefaultPointsPerKind;
  if (std::string(setting) == "all") return writes;
  return std::max<uint64_t>(1, std::strtoull(setting, nullptr, 10));
}

// The write numbers a shard of a kind tries: evenly spread over all writes,
// each kind shifted so that together they try more distinct numbers.
std::vector<uint64_t> Points(uint64_t writes, int kind, int shard) {
  const uint64_t stride = std::max<uint64_t>(1, writes / PointsPerKind(writes));
  std::vector<uint64_t> points;
  uint64_t number = 1 + (static_cast<uint64_t>(kind) * 7) % stride;
  for (uint64_t index = 0; number <= writes; ++index, number += stride) {
    if (index % kShards == static_cast<uint64_t>(shard)) points.push_back(number);
  }
  return points;
}

class FaultInjectionTest : public HostFixture,
                           public ::testing::WithParamInterface<std::tuple<int, int>> {
 protected:
  struct Pair {
    TempDir dir{TempDir::InMemoryWherePossible()};
    std::string krd = dir.File("f.krd");
    std::string krq = dir.File("f.krq");
  };

  void SetUp() override {
    HostFixture::SetUp();
    ASSERT_EQ(RecordingScript::InitializeLibrary(kBatchSize, 600000), 0);
  }

  // What a clean run of the steps leaves: its snapshot, and for the whole
  // script the number of writes it makes.
  struct CleanRun {
    std::string snapshot;
    uint64_t writes = 0;
  };
  static const CleanRun& Clean(const std::vector<std::size_t>& steps) {
    static std::map<std::vector<std::size_t>, CleanRun> runs;
    if (auto found = runs.find(steps); found != runs.end()) return found->second;
    Pair pair;
    const ScriptRun run = RunScript(Script(), pair.krd, pair.krq, {FaultPlan{}, 1, &steps});
    EXPECT_TRUE(run.failures.empty()) << "the clean run failed: " << run.failures.front().call;
    EXPECT_EQ(run.written.steps, steps);
    return runs[steps] = {Snapshot(pair.krd, pair.krq), run.writes};
  }
  static std::vector<std::size_t> AllSteps() {
    std::vector<std::size_t> steps(Script().Steps().size());
    for (std::size_t step = 0; step < steps.size(); ++step) steps[step] = step;
    return steps;
  }

  static void ExpectLibraryFailures(const ScriptRun& run) {
    for (const CallFailure& failure : run.failures) {
      EXPECT_TRUE(IsFaultCode(failure.code))
          << failure.call << " returned " << failure.code << ": " << failure.message;
      if (failure.call != "Close") {
        EXPECT_FALSE(failure.message.empty()) << failure.call << " returned " << failure.code;
      }
    }
  }

  // Closed after the fault: a clean pair that reads as a clean run of the
  // calls that returned 0.
  static void ExpectSameAsCleanRun(const ScriptRun& run, const Pair& pair) {
    ASSERT_TRUE(run.opened) << DescribeFailures(run);
    EXPECT_EQ(run.close_code, 0) << DescribeFailures(run);
    const Recovery::VerifyReport report = Recovery::Verify(pair.krd, pair.krq);
    EXPECT_TRUE(report.IsClean()) << report.Describe();
    EXPECT_EQ(SnapshotDifferences(Snapshot(pair.krd, pair.krq), Clean(run.written.steps).snapshot),
              "");
    ExpectWrittenReadBack(run, pair);
  }

  // Closed on a full disk: after a repair the pair is clean and holds every
  // block and event whose call returned 0. Without its header there is no
  // recording to repair, which is right only when CreateHeader failed.
  static void ExpectRepairKeepsWhatWasWritten(const ScriptRun& run, const Pair& pair) {
    const bool has_header = !run.written.steps.empty() && run.written.steps.front() == 0;
    try {
      Recovery::Repair(pair.krd, pair.krq);
    } catch (const KrdFiles::ApiException& e) {
      EXPECT_FALSE(has_header) << "Repair failed with " << e.Code() << ": " << e.what();
      return;
    }
    const Recovery::VerifyReport report = Recovery::Verify(pair.krd, pair.krq);
    EXPECT_TRUE(report.IsClean()) << report.Describe();
    ExpectWrittenReadBack(run, pair);
  }

  static void ExpectWrittenReadBack(const ScriptRun& run, const Pair& pair) {
    KrdFileHandle file = 0;
    ASSERT_EQ(Open(HostBytes(pair.krd).String(), HostBytes(pair.krq).String(), kRead, &file), 0);
    EXPECT_THAT(ReadBackProblems(file, Script(), run.written, /*nothing_after=*/true),
                ::testing::IsEmpty());
    Close(file);
  }
};

TEST_P(FaultInjectionTest, FailingCallsChangeNothingAndSayWhy) {
  const auto [kind_index, shard] = GetParam();
  const FaultKind& kind = kKinds[kind_index];
  const bool until_closed = kind.span == FaultPlan::kForever;
  const uint64_t writes = Clean(AllSteps()).writes;
  ASSERT_GT(writes, 0u);
  PointFailures failures;
  for (const uint64_t write : Points(writes, kind_index, shard)) {
    failures.Check(write, [&] {
      SCOPED_TRACE(std::string(kind.name) + " at write " + std::to_string(write) + " of " +
                   std::to_string(writes));
      const Pair pair;
      const FaultPlan plan{kind.kind, write, kind.span, kind.index_error,
                           static_cast<uint32_t>(write)};
      const ScriptRun run =
          RunScript(Script(), pair.krd, pair.krq, {plan, until_closed ? 1 : kAttempts});
      ExpectLibraryFailures(run);
      if (until_closed) {
        ExpectRepairKeepsWhatWasWritten(run, pair);
      } else {
        ExpectSameAsCleanRun(run, pair);
      }
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, FaultInjectionTest,
                         ::testing::Combine(::testing::Range(0,
                                                             static_cast<int>(std::size(kKinds))),
                                            ::testing::Range(0, kShards)),
                         [](const ::testing::TestParamInfo<std::tuple<int, int>>& info) {
                           return std::string(kKinds[std::get<0>(info.param)].name) + "_" +
                                  std::to_string(std::get<1>(info.param));
                         });

// The index's disk fills while the data file's has room: the call after
// the first commit that fails is refused with the engine's text, so the
// host learns of it at once, and once there is room again recording goes
// on with every block whose call returned 0.
using IndexDiskTest = HostFixture;

TEST_F(IndexDiskTest, AFullIndexDiskFailsTheNextChangeUntilThereIsRoomAgain) {
  Configure(/*batch_size=*/4, /*commit_interval_ms=*/600000, 64 * 1024, {{1, 2}});
  FaultSchedule::Process();  // its fault VFS must be there before the index is opened
  const TempDir dir(TempDir::InMemoryWherePossible());
  KrdFileHandle file = 0;
  ASSERT_EQ(Open(HostBytes(dir.File("i.krd")).String(), HostBytes(dir.File("i.krq")).String(),
                 kRecord, &file),
            0);
  DescribeOneChannel(file, 1);
  uint16_t id = 0;

  FaultSchedule::Process().Arm(
      {FaultPlan::Kind::kDiskFull, 1, FaultPlan::kForever, SQLITE_FULL, 0, /*index_only=*/true});
  std::vector<int64_t> written;
  int32_t code = 0;
  for (int64_t time = 0; time < 40 && code == 0; time += 2) {
    code = RecordChannelGroupData(file, 1, time, HostBytes("ab").Array());
    if (code == 0) written.push_back(time);
  }
  EXPECT_EQ(code, 41);
  EXPECT_EQ(LastMessage(file), "database or disk is full");
  EXPECT_LE(written.size(), 4u) << "no call after the first failed commit returns 0";
  EXPECT_EQ(CreateDevice(file, 0, HostBytes("daq").String(), &id), 41) << "nor any other change";
  int64_t latest = 0;
  EXPECT_EQ(GetMaxChGroupTime(file, 1, &latest), 0) << "reads go on";

  FaultSchedule::Process().Disarm();
  ASSERT_EQ(RecordChannelGroupData(file, 1, 100, HostBytes("cd").Array()), 0);
  written.push_back(100);
  ASSERT_EQ(Close(file), 0);
  ASSERT_EQ(Open(HostBytes(dir.File("i.krd")).String(), HostBytes(dir.File("i.krq")).String(),
                 kRead, &file),
            0);
  for (const int64_t time : written) {
    int64_t continuation = 0;
    KrdU8ArrayHandle samples = nullptr;
    EXPECT_EQ(GetChannelData(file, 1, time, 1, &continuation, &samples), 0);
    EXPECT_EQ(TakeBytes(samples), time == 100 ? "cd" : "ab") << "the block at " << time;
  }
  Close(file);
}

}  // namespace
}  // namespace Varnholt::Testing
