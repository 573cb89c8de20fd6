#include "KrdFileLibApi/MaintenanceThread.h"

#include "KrdFileLib/Index/CommitLimits.h"

namespace Varnholt::KrdFiles {

MaintenanceThread::MaintenanceThread(const KrfFileTable& table,
                                     std::shared_ptr<const CommonLib::IClock> clock)
    : table_(table), clock_(std::move(clock)) {}

MaintenanceThread::~MaintenanceThread() { Stop(); }

void MaintenanceThread::Start() {
  if (worker_.joinable()) return;
  stop_requested_ = false;
  if (!module_.Acquire()) return;  // no thread rather than one that could outlive its code
  try {
    worker_ = std::thread([this] { Run(); });
  } catch (...) {
    module_.Release();
    throw;
  }
  Index::SetMaintenancePassesRun(true);
}

void MaintenanceThread::Stop() {
  stop_requested_ = true;
  if (worker_.joinable() && worker_.get_id() != std::this_thread::get_id()) {
    Index::SetMaintenancePassesRun(false);
    worker_.join();
    module_.Release();
    // Readers now read a snapshot per call; one last pass lets go of the
    // snapshots they hold from before, and commits what is due.
    RunPass(table_);
  }
}

void MaintenanceThread::Abandon() noexcept {
  stop_requested_ = true;
  if (worker_.joinable()) worker_.detach();
  module_.Forget();
}

void MaintenanceThread::Run() {
  const std::shared_ptr<const CommonLib::IClock> clock = clock_;
  while (!stop_requested_) {
    RunPass(table_);
    clock->Sleep(kPauseMs);
  }
}

void MaintenanceThread::RunPass(const KrfFileTable& table) {
  for (std::size_t slot = 0; slot < table.SlotCount(); ++slot) {
    std::shared_ptr<KrfFileBase> file = table.FileInSlot(slot);  // table lock only
    if (!file) continue;
    try {
      file->MaintainIndex();  // file lock only
    } catch (...) {
      // A failed commit stays pending; the next pass or the file's own next
      // statement tries again, and the host hears of it from that call.
    }
  }
}

}  // namespace Varnholt::KrdFiles
