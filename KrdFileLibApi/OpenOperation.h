#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "CommonLib/IClock.h"
#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLibApi/KrfFileTable.h"
#include "KrdFileLibApi/OperationBase.h"

namespace Varnholt::KrdFiles {

// Opens a recording for a host and enters it into the file table, which
// issues its handle. Mode 0 reads, 1 records, 2 edits; reindexing is not
// reachable this way. There is no handle to record a failure against yet, so
// the reason the file object's open failed is kept as the operation's error
// text (DebugOpen hands it to the host). Only that open is guarded: a bad
// mode fails with an empty text. A file object that fails to open is closed
// and dropped; it never takes a slot in the table.
class OpenOperation final : public OperationBase {
 public:
  OpenOperation(KrfFileTable& table, std::shared_ptr<const CommonLib::IClock> clock,
                std::string krd_path, std::string krq_path, uint32_t mode, uint32_t* handle);

  const std::string& ErrorText() const { return error_text_; }

 protected:
  void Perform() override;

 private:
  std::shared_ptr<KrfFileBase> NewFileObject() const;
  void OpenGuarded(KrfFileBase& file);

  KrfFileTable& table_;
  std::shared_ptr<const CommonLib::IClock> clock_;
  std::string krd_path_;
  std::string krq_path_;
  uint32_t mode_;
  uint32_t* handle_;
  std::string error_text_;
};

}  // namespace Varnholt::KrdFiles
