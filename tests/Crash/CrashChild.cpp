// The crash test's child: records a recording through the exported
// functions and reports each call that returned 0 to its parent. Given a
// write number, it puts down part of that write (to either file) and kills
// itself there; otherwise the parent kills it when it likes.
//
// Usage: KrdCrashChild <krd> <krq> <report fd> <crash at write, 0 for none>
//                      <seed> <blocks>

#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "KrdFileLibApi.h"
#include "tests/Api/TestHost.h"
#include "tests/Crash/CrashReport.h"
#include "tests/TestSupport/FaultSchedule.h"

namespace {

using namespace Varnholt::Testing;

void Report(int fd, const CrashReport& report) {
  if (write(fd, &report, sizeof report) != static_cast<ssize_t>(sizeof report)) std::_Exit(5);
}

CrashReport Written(const ScriptStep& step, std::size_t index, uint32_t new_id,
                    const SlotIds& ids) {
  CrashReport report;
  report.step = static_cast<uint32_t>(index);
  report.value = new_id;
  if (step.block) {
    report.start = step.block->start;
    report.group = ids.at(step.block->Group().slot);
    report.length = static_cast<uint32_t>(step.block->frames * step.block->Group().FrameSize());
    report.seed = step.block->seed;
  }
  return report;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) return 2;
  const int fd = std::atoi(argv[3]);
  const uint64_t crash_at = std::strtoull(argv[4], nullptr, 10);
  const auto seed = static_cast<uint32_t>(std::strtoul(argv[5], nullptr, 10));
  const RecordingScript script(CrashShape(seed, std::atoi(argv[6])));
  FaultSchedule& schedule = FaultSchedule::Process();
  if (RecordingScript::InitializeLibrary(kCrashBatchSize, kCrashCommitIntervalMs) != 0) return 3;
  FaultPlan plan;
  if (crash_at != 0) plan = {FaultPlan::Kind::kCrash, crash_at, 1, SQLITE_IOERR_WRITE, seed};
  schedule.Arm(plan);

  KrdFileHandle file = 0;
  if (Open(HostBytes(argv[1]).String(), HostBytes(argv[2]).String(), 1, &file) != 0) return 3;
  SlotIds ids;
  for (std::size_t index = 0; index < script.Steps().size(); ++index) {
    const std::optional<int32_t> code = script.Run(index, file, ids);
    if (code == 0) {
      const std::string& slot = script.Steps()[index].creates;
      Report(fd, Written(script.Steps()[index], index, slot.empty() ? 0 : ids.at(slot), ids));
    } else {
      CrashReport failed{.kind = CrashReport::kFailed, .step = static_cast<uint32_t>(index)};
      failed.value = static_cast<uint64_t>(code.value_or(-1));
      Report(fd, failed);
      return 4;
    }
  }
  const int32_t closed = Close(file);
  Report(fd, {.kind = CrashReport::kClosed,
              .step = static_cast<uint32_t>(closed),
              .value = schedule.Calls()});
  return closed == 0 ? 0 : 4;
}
