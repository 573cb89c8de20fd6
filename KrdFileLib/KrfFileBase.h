#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "CommonLib/IClock.h"
#include "CommonLib/NonCopyableClassBase.h"
#include "CommonLib/PolymorphicBasedClassBase.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLib/Index/IndexConnection.h"
#include "KrdFileLib/KrdInstance.h"

namespace Varnholt::KrdFiles {

// One open recording: the pair of a KRD data file and its KRQ index. The
// table of open files hands these out by handle; every operation on the
// recording runs under the object's own recursive mutex, which the
// maintenance thread also takes for its timed index commit.
class KrfFileBase : public CommonLib::PolymorphicBasedClassBase,
                    public CommonLib::NonCopyableClassBase {
 public:
  KrfFileBase(std::string krd_path, std::string krq_path,
              std::shared_ptr<FileLibrarySettings> settings,
              std::shared_ptr<const CommonLib::IClock> clock);

  // Commits the index and closes both files.
  virtual void Close();
  // Commits the index's open batch once its commit interval has passed.
  void CommitIndexIfDue();

  std::recursive_mutex& Mutex() { return mutex_; }

 protected:
  KrdInstance data_file_;
  Index::IndexConnection index_;
  std::shared_ptr<FileLibrarySettings> settings_;

 private:
  std::recursive_mutex mutex_;
};

}  // namespace Varnholt::KrdFiles
