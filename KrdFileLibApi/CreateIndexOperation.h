#pragma once

#include <memory>
#include <string>

#include "CommonLib/IClock.h"
#include "KrdFileLib/FileLibrarySettings.h"
#include "KrdFileLibApi/OperationBase.h"

namespace Varnholt::KrdFiles {

// Rebuilds a recording's index file from its data file for a host: opens
// the pair in reindex mode (which creates the new index), restores every
// packet into it and closes it. The file object is local to the operation
// and never gets a handle, so the outcome is the code alone. The index is
// closed on failure too, so that the rows restored before it stay.
class CreateIndexOperation final : public OperationBase {
 public:
  CreateIndexOperation(std::shared_ptr<FileLibrarySettings> settings,
                       std::shared_ptr<const CommonLib::IClock> clock, std::string krd_path,
                       std::string krq_path);

 protected:
  void Perform() override;

 private:
  std::shared_ptr<FileLibrarySettings> settings_;
  std::shared_ptr<const CommonLib::IClock> clock_;
  std::string krd_path_;
  std::string krq_path_;
};

}  // namespace Varnholt::KrdFiles
