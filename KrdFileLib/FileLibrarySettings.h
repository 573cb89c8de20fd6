#pragma once

#include <cstdint>
#include <mutex>

#include "CommonLib/NonCopyableClassBase.h"

namespace Varnholt::KrdFiles {

// The host's settings that every open file shares: today the read chunk size,
// how many bytes of a data block the channel-data read path reads from the
// data file at a time (rounded down there to whole frames, at least one).
// Every file object holds a shared reference, so a new Initialize reaches
// files that are already open.
class FileLibrarySettings : public CommonLib::NonCopyableClassBase {
 public:
  static constexpr uint32_t kDefaultReadChunkSize = 1024 * 1024;

  uint32_t ReadChunkSize() const {
    std::lock_guard lock(mutex_);
    return read_chunk_size_;
  }
  void SetReadChunkSize(uint32_t bytes) {
    std::lock_guard lock(mutex_);
    read_chunk_size_ = bytes;
  }

 private:
  mutable std::recursive_mutex mutex_;
  uint32_t read_chunk_size_ = kDefaultReadChunkSize;
};

}  // namespace Varnholt::KrdFiles
