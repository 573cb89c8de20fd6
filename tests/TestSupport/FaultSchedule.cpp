#include "tests/TestSupport/FaultSchedule.h"

#include <csignal>
#include <cstdlib>

#include "KrdFileLib/DataFile/FileFaultProbe.h"
#include "tests/TestSupport/FaultVfs.h"

namespace Varnholt::Testing {

namespace {

using KrdFiles::FileFaultProbe;

// The data file's side of the schedule: the library asks it before every
// write, sync and truncation of a data file, and calls AfterFailure once a
// failed call's allowed bytes are down, which is where a crash is carried
// out.
class DataFileProbe final : public FileFaultProbe {
 public:
  std::size_t BytesAllowed(Call call, std::size_t size) override {
    const FaultDecision decision =
        FaultSchedule::Process().Decide(WriteSeam::kDataFile, ToWriteCall(call), size);
    crash_pending_ = decision.crash;
    return decision.fail ? decision.bytes : size;
  }
  void AfterFailure(Call /*call*/) override {
    if (crash_pending_) FaultSchedule::KillProcess();
  }

 private:
  static WriteCall ToWriteCall(Call call) {
    switch (call) {
      case Call::kWrite:
        return WriteCall::kWrite;
      case Call::kSync:
        return WriteCall::kSync;
      default:
        return WriteCall::kTruncate;
    }
  }

  // Written and read under the data file's own lock, one call at a time.
  bool crash_pending_ = false;
};

// A well-mixed number from the plan's seed and the call's number, so that
// each failed write keeps a different, repeatable part of its bytes.
uint64_t Mix(uint64_t value) {
  value += 0x9E3779B97F4A7C15ULL;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
  return value ^ (value >> 31);
}

}  // namespace

FaultSchedule& FaultSchedule::Process() {
  static FaultSchedule* const schedule = [] {
    static FaultSchedule instance;
    static DataFileProbe probe;
    KrdFiles::SetFileFaultProbe(&probe);
    InstallFaultVfs();
    return &instance;
  }();
  return *schedule;
}

void FaultSchedule::Arm(const FaultPlan& plan) {
  const std::lock_guard lock(mutex_);
  plan_ = plan;
  armed_ = true;
  calls_ = 0;
}

void FaultSchedule::Disarm() {
  const std::lock_guard lock(mutex_);
  armed_ = false;
}

uint64_t FaultSchedule::Calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

bool FaultSchedule::Faulted(WriteCall call, uint64_t number) const {
  switch (plan_.kind) {
    case FaultPlan::Kind::kFailOnce:
    case FaultPlan::Kind::kCrash:
      return number == plan_.first;
    case FaultPlan::Kind::kDiskFull:
      return call == WriteCall::kWrite && number >= plan_.first &&
             number - plan_.first < plan_.span;
    default:
      return false;
  }
}

FaultDecision FaultSchedule::Decide(WriteSeam seam, WriteCall call, std::size_t size) {
  const std::lock_guard lock(mutex_);
  if (!armed_) return {};
  const uint64_t number = ++calls_;
  if (!Faulted(call, number) || (plan_.index_only && seam == WriteSeam::kDataFile)) return {};
  FaultDecision decision;
  decision.fail = true;
  decision.crash = plan_.kind == FaultPlan::Kind::kCrash;
  const uint64_t mixed = Mix(plan_.seed * 0x100000001B3ULL + number);
  decision.bytes = size == 0 ? 0 : static_cast<std::size_t>(mixed % size);
  decision.index_error = plan_.index_error;
  return decision;
}

void FaultSchedule::KillProcess() {
  std::raise(SIGKILL);
  std::abort();  // not reached: SIGKILL cannot be caught
}

}  // namespace Varnholt::Testing
