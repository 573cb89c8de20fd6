#include "KrdFileLib/KrfFileBase.h"

namespace Varnholt::KrdFiles {

KrfFileBase::KrfFileBase(std::string krd_path, std::string krq_path,
                         std::shared_ptr<FileLibrarySettings> settings,
                         std::shared_ptr<const CommonLib::IClock> clock)
    : data_file_(std::move(krd_path)),
      index_(std::move(krq_path), std::move(clock)),
      settings_(std::move(settings)) {}

void KrfFileBase::Close() {
  std::lock_guard lock(mutex_);
  // The data file is closed even when the index's last commit fails.
  struct CloseDataFile {
    KrdInstance& file;
    ~CloseDataFile() { file.Close(); }
  } close_data_file{data_file_};
  index_.Close();
}

void KrfFileBase::CommitIndexIfDue() {
  std::lock_guard lock(mutex_);
  index_.CommitIfDue();
}

}  // namespace Varnholt::KrdFiles
