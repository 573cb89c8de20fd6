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
// commits index batches on time. The shared library creates it when it is
// loaded, before the host's first call; Process() also creates it on first
// use, so that the C++ layer can be tested without the shared library. It
// lives until the library is unloaded, when the maintenance thread is
// stopped and joined and the files still open are released.
class LibraryInstance : public CommonLib::NonCopyableClassBase {
 public:
  static LibraryInstance& Process();

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
