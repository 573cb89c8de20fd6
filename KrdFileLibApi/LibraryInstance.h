#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "CommonLib/IClock.h"
#include "CommonLib/NonCopyableClassBase.h"
#include "KrdFileLib/DataTypeRegistry.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLibApi/KrfFileTable.h"
#include "KrdFileLibApi/MaintenanceThread.h"

namespace Varnholt::KrdFiles {

// What a host hands to Initialize, read out of its settings cluster.
struct LibraryConfiguration {
  uint32_t read_chunk_size = FileLibrarySettings::kDefaultReadChunkSize;
  std::vector<DataTypeRegistry::Entry> data_types;  // in the host's row order
  int32_t batch_size = 0;
  int32_t commit_interval_ms = 0;
};

// The library's state for the whole process: the table of open files, the
// settings every file shares, the clock, and the maintenance thread that
// commits index batches on time. Process() creates it on first use (the
// Linux library also creates it when it is loaded, before the host's first
// call; a Windows DLL must not start a thread while it is being loaded). It
// lives until the library is unloaded, when the maintenance thread is
// stopped and joined and the files still open are released; at the end of
// a Windows process it is abandoned instead (AbandonAtProcessExit).
class LibraryInstance : public CommonLib::NonCopyableClassBase {
 public:
  static LibraryInstance& Process();
  // For a Windows DLL told that the process is ending: the system has ended
  // the other threads already, maybe while they held a lock, so the process
  // instance is neither stopped nor destroyed, just let go of. Nothing is
  // lost that Close would have kept: the data file holds every packet, and
  // an index batch not yet committed is rebuilt from it.
  static void AbandonAtProcessExit() noexcept;

  // Starts the maintenance thread.
  explicit LibraryInstance(std::shared_ptr<const CommonLib::IClock> clock);
  ~LibraryInstance();

  // Fills in the host's values: the read chunk size, the data-type
  // registry (rebuilt from scratch) and the index-commit limits.
  void Initialize(const LibraryConfiguration& configuration);
  // Stops the time-driven commits; open files stay open and usable.
  void Terminate();

  KrfFileTable& Files() { return files_; }
  const std::shared_ptr<FileLibrarySettings>& Settings() const { return settings_; }
  const std::shared_ptr<const CommonLib::IClock>& Clock() const { return clock_; }
  bool MaintenanceRunning() const { return maintenance_.IsRunning(); }

 private:
  std::shared_ptr<FileLibrarySettings> settings_;
  std::shared_ptr<const CommonLib::IClock> clock_;
  KrfFileTable files_;
  MaintenanceThread maintenance_;  // last: stopped before the table goes
};

}  // namespace Varnholt::KrdFiles
