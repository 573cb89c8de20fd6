#include "KrdFileLibApi/CreateIndexOperation.h"

#include "KrdFileLib/File/KrfModes.h"
#include "KrdFileLibApi/CloseOnFailure.h"

namespace Varnholt::KrdFiles {

CreateIndexOperation::CreateIndexOperation(std::shared_ptr<FileLibrarySettings> settings,
                                           std::shared_ptr<const CommonLib::IClock> clock,
                                           std::string krd_path, std::string krq_path)
    : settings_(std::move(settings)),
      clock_(std::move(clock)),
      krd_path_(std::move(krd_path)),
      krq_path_(std::move(krq_path)) {}

void CreateIndexOperation::Perform() {
  KrfReindexer reindexer(krd_path_, krq_path_, settings_, clock_);
  CloseOnFailure close_on_failure(reindexer);
  reindexer.Open();
  reindexer.Reindex();
  close_on_failure.Release();
  reindexer.Close();
}

}  // namespace Varnholt::KrdFiles
