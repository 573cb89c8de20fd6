#pragma once

// One numbering of every write a recording makes to either of its files,
// and the plan that says which of them fail and how. The data file's fault
// probe and the index's SQLite VFS both ask the process's schedule about
// each write, sync and truncation, so a test can name "the Nth write of the
// recording" whichever file it goes to: first it runs a recording unharmed
// and reads how many calls it made, then it runs it again with call N
// failing, the disk full from N on, or the process killed at N.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <mutex>

namespace Varnholt::Testing {

// Which file a call goes to, and what kind of call it is.
enum class WriteSeam { kDataFile, kIndex };
enum class WriteCall { kWrite, kSync, kTruncate };

// What happens to the calls of a recording, counted from 1 after Arm.
struct FaultPlan {
  enum class Kind {
    kNone,      // every call goes through; calls are only counted
    kFailOnce,  // call `first` fails, whatever kind of call it is
    kDiskFull,  // writes numbered first .. first + span - 1 fail; syncs and
                // truncations in that window still pass, as on a full disk
    kCrash,     // call `first` puts part of its bytes down, then the
                // process is killed
  };
  static constexpr uint64_t kForever = std::numeric_limits<uint64_t>::max();

  Kind kind = Kind::kNone;
  uint64_t first = 0;
  uint64_t span = 1;
  // What a failed index write returns: SQLITE_FULL or SQLITE_IOERR_WRITE.
  // (A failed sync or truncation returns SQLite's own code for it.)
  int index_error = 0;
  // Chooses how many bytes of each failed or torn write reach the file.
  uint32_t seed = 0;
  // Only the index's calls fail; the data file's are numbered but go
  // through, as when the index lies on a disk of its own.
  bool index_only = false;
};

// What a seam does with one call: all of it goes through, or `bytes` of it
// reach the file and the call fails (and with `crash` the process is killed
// right after those bytes).
struct FaultDecision {
  bool fail = false;
  bool crash = false;
  std::size_t bytes = 0;
  int index_error = 0;
};

class FaultSchedule {
 public:
  // The process's schedule. Its first use installs both seams: the data
  // file's probe and the fault VFS as SQLite's default.
  static FaultSchedule& Process();

  // Starts numbering calls from 1 under the plan.
  void Arm(const FaultPlan& plan);
  // Lets every call through from now on; the counts stay readable.
  void Disarm();
  // Calls numbered since the last Arm.
  uint64_t Calls() const;

  // Numbers one call of `size` bytes (1 for a sync or truncation) and says
  // what happens to it. Calls made while disarmed are not numbered.
  FaultDecision Decide(WriteSeam seam, WriteCall call, std::size_t size);

  // Ends the process at once with SIGKILL, as a host killed by its system.
  [[noreturn]] static void KillProcess();

 private:
  FaultSchedule() = default;
  bool Faulted(WriteCall call, uint64_t number) const;

  mutable std::mutex mutex_;
  FaultPlan plan_;
  bool armed_ = false;
  uint64_t calls_ = 0;
};

}  // namespace Varnholt::Testing
