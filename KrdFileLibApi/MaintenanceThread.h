#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "CommonLib/IClock.h"
#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLibApi/KrfFileTable.h"
#include "KrdFileLibApi/ModuleReference.h"

namespace Varnholt::KrdFiles {

// The background thread that commits index batches on time. Recording
// writes index rows in batches that commit by count; a recording that goes
// quiet would otherwise leave its last rows uncommitted, so every 50 ms this
// thread walks the open files and commits each batch whose commit interval
// has passed. On the same pass an index that has only read since its last
// commit lets go of its read snapshot, so that a reader follows a recording
// in progress; while the thread runs, readers keep their snapshots between
// calls for it to release (Index::MaintenancePassesRun), and once it stops
// they read a snapshot per call. It holds one lock at a time: the table's
// while it looks up a slot, then the file's while it commits, never both.
class MaintenanceThread : public CommonLib::NonCopyableClassBase {
 public:
  static constexpr int64_t kPauseMs = 50;

  MaintenanceThread(const KrfFileTable& table, std::shared_ptr<const CommonLib::IClock> clock);
  // Stops and joins the thread.
  ~MaintenanceThread();

  void Start();
  // Sets the stop flag and waits for the current pass and pause to end.
  void Stop();
  // At the end of the process, where threads may already have been ended
  // by the system: lets go of the thread without waiting for it.
  void Abandon() noexcept;
  bool IsRunning() const { return worker_.joinable(); }

  // One walk over the open files; public so that tests can run it directly.
  static void RunPass(const KrfFileTable& table);

 private:
  void Run();

  const KrfFileTable& table_;
  std::shared_ptr<const CommonLib::IClock> clock_;
  std::atomic<bool> stop_requested_{false};
  ModuleReference module_;  // the module stays loaded while the thread runs
  std::thread worker_;
};

}  // namespace Varnholt::KrdFiles
