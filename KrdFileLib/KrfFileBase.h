#pragma once

#include <mutex>

#include "CommonLib/NonCopyableClassBase.h"
#include "CommonLib/PolymorphicBasedClassBase.h"

namespace Varnholt::KrdFiles {

// One open recording: the pair of a KRD data file and its KRQ index. The
// table of open files hands these out by handle; every operation on the
// recording runs under the object's own recursive mutex, which the
// maintenance thread also takes for its timed index commit.
class KrfFileBase : public CommonLib::PolymorphicBasedClassBase,
                    public CommonLib::NonCopyableClassBase {
 public:
  // Commits the index and closes both files.
  virtual void Close() = 0;

  std::recursive_mutex& Mutex() { return mutex_; }

 private:
  std::recursive_mutex mutex_;
};

}  // namespace Varnholt::KrdFiles
