#pragma once

#include "KrdFileLib/File/KrfFileBase.h"

namespace Varnholt::KrdFiles {

// Closes a file object that a failed open or rebuild leaves behind, unless
// the work got far enough to Release it. A failure of that close is
// swallowed: the failure that got there is the one the host hears of.
class CloseOnFailure {
 public:
  explicit CloseOnFailure(KrfFileBase& file) : file_(&file) {}
  CloseOnFailure(const CloseOnFailure&) = delete;
  CloseOnFailure& operator=(const CloseOnFailure&) = delete;
  ~CloseOnFailure() {
    if (file_ == nullptr) return;
    try {
      file_->Close();
    } catch (...) {
    }
  }

  void Release() { file_ = nullptr; }

 private:
  KrfFileBase* file_;
};

}  // namespace Varnholt::KrdFiles
